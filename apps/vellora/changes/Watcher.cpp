#include "apps/vellora/changes/Watcher.h"

#include <chrono>
#include <map>
#include <utility>

#include "apps/vellora/command/CommandCatalog.h"
#include "apps/vellora/command/Reason.h"
#include "vellora/Catalog/Answer.h"
#include "vellora/Catalog/Catalog.h"
#include "vellora/Catalog/RefreshOptions.h"
#include "vellora/Catalog/TypeChange.h"
#include "vellora/DataServices/Source.h"

namespace vellora::command {

namespace {

using Names = std::set<std::string>;
using Ask = Reading (Reader::*)(const Names& names, Source source) const;

/// What the cache has, however old, the rest from the server.
Reading fromCacheThenServer(const Reader& reader, Ask ask, const Names& names) {
  auto cached = (reader.*ask)(names, Source::cacheOnly);
  auto rest = (reader.*ask)(cached.uncached, Source::cacheFirst);
  rest.found.merge(cached.found);
  return rest;
}

/// What was known before of what could not be asked now.
void keepUnasked(const Names& unasked, const Described& before, Described& now) {
  for (const auto& name : unasked) {
    if (const auto old = before.find(name); old != before.end()) now.insert(*old);
  }
}

void append(const Verdict& more, Verdict& verdict) {
  verdict.lines.insert(verdict.lines.end(), more.lines.begin(), more.lines.end());
  verdict.notes.insert(verdict.notes.end(), more.notes.begin(), more.notes.end());
  if (more.exit != ExitCode::answered) verdict.exit = more.exit;
}

/// Types of which the refresh has found out a change that is none of what is shown.
void addUnseen(const std::map<std::string, TypeChange>& found, const Snapshot& before, const Snapshot& now,
               std::vector<Difference>& differences) {
  for (const auto& [name, change] : found) {
    const bool isWatched = before.types.contains(name) && now.types.contains(name);
    if (change != TypeChange::changed || !isWatched || before.types.at(name) != now.types.at(name)) continue;
    differences.push_back({"type", name, "changed", {{"not shown", {}, {}}}});
  }
}

}  // namespace

Watcher::Watcher(const CommandCatalog& catalog, const Arguments& arguments, std::vector<std::string> keys)
    : catalog_(catalog),
      arguments_(arguments),
      reader_(catalog, arguments, arguments.server),
      keys_(std::move(keys)) {}

Names Watcher::namesOfKeys(const Described& types) const {
  Names names;
  std::vector<std::string> others;
  for (const auto& key : keys_) {
    if (types.contains(key)) {
      names.insert(key);
    } else {
      others.push_back(key);
    }
  }
  if (others.empty()) return names;
  const auto records = catalog_.answerTo(&Catalog::records, others, questionOptions(arguments_));
  for (const auto& key : others) {
    const auto found = records.found.find(key);
    names.insert(found == records.found.end() ? key : found->second.typePresentationInfo.apiName());
  }
  return names;
}

void Watcher::keepWatched(Described& types) const {
  if (keys_.empty()) return;
  std::erase_if(types, [this](const auto& type) { return !names_.contains(type.first); });
}

Verdict Watcher::begin() {
  auto types = reader_.types(Source::cacheOnly);
  if (types.verdict.exit != ExitCode::answered) types = reader_.types(Source::cacheFirst);
  if (types.verdict.exit != ExitCode::answered && types.found.empty()) return types.verdict;
  names_ = namesOfKeys(types.found);
  known_.types = std::move(types.found);
  keepWatched(known_.types);
  static_cast<void>(readLayouts(known_, /*isFirst=*/true));
  return {};
}

Verdict Watcher::readLayouts(Snapshot& now, bool isFirst) const {
  const auto ask = [this, isFirst](Ask question) {
    return isFirst ? fromCacheThenServer(reader_, question, names_)
                   : (reader_.*question)(names_, Source::cacheFirst);
  };
  auto columns = ask(&Reader::searchLayouts);
  auto headlines = ask(&Reader::compactLayouts);
  keepUnasked(columns.unasked, known_.searchLayouts, columns.found);
  keepUnasked(headlines.unasked, known_.compactLayouts, headlines.found);
  now.searchLayouts = std::move(columns.found);
  now.compactLayouts = std::move(headlines.found);
  append(headlines.verdict, columns.verdict);
  return columns.verdict;
}

Refreshed Watcher::refresh() {
  const auto answer = catalog_.answerTo(
      &Catalog::refresh, RefreshOptions{.deadline = std::chrono::duration<double>(arguments_.wait)});
  auto types = reader_.types(Source::cacheOnly);
  Refreshed refreshed;
  if (answer.trouble) {
    refreshed.verdict = {ExitCode::requestFailed, {"not refreshed: " + reasonOf(*answer.trouble)}};
  } else if (answer.end != End::answered) {
    refreshed.verdict = {ExitCode::requestFailed,
                         {"not refreshed: no answer yet; give it longer with --wait SECONDS"}};
  }
  if (refreshed.verdict.exit != ExitCode::answered || types.verdict.exit != ExitCode::answered)
    return refreshed;
  Snapshot now;
  now.types = std::move(types.found);
  keepWatched(now.types);
  append(readLayouts(now, /*isFirst=*/false), refreshed.verdict);
  refreshed.differences = differencesBetween(known_, now);
  addUnseen(answer.found, known_, now, refreshed.differences);
  known_ = std::move(now);
  return refreshed;
}

}  // namespace vellora::command
