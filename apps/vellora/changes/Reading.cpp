#include "apps/vellora/changes/Reading.h"

#include <map>
#include <sstream>
#include <utility>

#include "apps/vellora/command/Reason.h"
#include "vellora/Catalog/Catalog.h"
#include "vellora/Catalog/Keys.h"
#include "vellora/Catalog/Missing.h"
#include "vellora/Catalog/QuestionOptions.h"

namespace vellora::command {

namespace {

using Why = Missing::Why;

QuestionOptions optionsFrom(const Arguments& arguments, Source source) {
  auto options = questionOptions(arguments);
  options.source = source;
  return options;
}

/// Sorts the keys that an answer lacks; one that the server does not know is told by its absence.
void sortMissing(const std::map<std::string, Missing>& missing, Lack lack, Reading& reading) {
  for (const auto& [name, reason] : missing) {
    if (reason.why() == Why::notCached) reading.uncached.insert(name);
    if (reason.why() != Why::failed && reason.why() != Why::timedOut) continue;
    reading.unasked.insert(name);
    lack.keys.push_back(name);
    lack.missing.emplace(name, reason);
  }
  reading.verdict = verdictOn(lack);
}

template <class Record>
Reading readingOf(const Answer<Record>& answer, const std::string& what, const Arguments& arguments) {
  Reading reading;
  for (const auto& [name, record] : answer.found) reading.found.emplace(name, propertiesOf(record));
  Lack lack;
  lack.what = what;
  lack.wait = arguments.wait;
  sortMissing(answer.missing, std::move(lack), reading);
  return reading;
}

std::vector<std::string> listOf(const std::set<std::string>& names) {
  return {names.begin(), names.end()};
}

/// Types are compared whole or not at all, so that nothing is taken for a difference that could not be asked.
Verdict verdictOnTypes(const Answer<ObjectPresentationInfo>& answer, Source source, double wait) {
  const bool isWhole = answer.end == End::answered && (source == Source::cacheOnly || !answer.trouble);
  if (isWhole) return {};
  std::ostringstream why;
  why << "no object types";
  if (answer.end == End::timedOut) {
    why << " within " << wait << " s; give it longer with --wait SECONDS";
  } else if (answer.trouble) {
    why << ": " << reasonOf(*answer.trouble);
  }
  return {ExitCode::requestFailed, {why.str()}};
}

}  // namespace

Reading Reader::types(Source source) const {
  const auto answer = catalog_.answerTo(&Catalog::allTypes, std::string(), optionsFrom(arguments_, source));
  Reading reading;
  for (const auto& [name, type] : answer.found) reading.found.emplace(name, propertiesOf(type, address_));
  reading.verdict = verdictOnTypes(answer, source, arguments_.wait);
  return reading;
}

Reading Reader::searchLayouts(const std::set<std::string>& names, Source source) const {
  if (names.empty()) return {};
  return readingOf(catalog_.answerTo(&Catalog::searchColumns, listOf(names), optionsFrom(arguments_, source)),
                   "search layout", arguments_);
}

Reading Reader::compactLayouts(const std::set<std::string>& names, Source source) const {
  if (names.empty()) return {};
  return readingOf(catalog_.answerTo(&Catalog::headlines, listOf(names), optionsFrom(arguments_, source)),
                   "compact layout", arguments_);
}

}  // namespace vellora::command
