#include "apps/vellora/command/Verdict.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <sstream>
#include <utility>

#include "apps/vellora/command/Output.h"
#include "apps/vellora/command/Reason.h"
#include "vellora/DataServices/NotCached.h"

namespace vellora::command {

namespace {

using Why = Missing::Why;

struct Reason {
  ExitCode exit;
  std::string text;

  friend bool operator==(const Reason&, const Reason&) = default;
};

struct Group {
  Reason reason;
  std::vector<std::string> keys;
};

std::string list(const std::vector<std::string>& keys) {
  constexpr std::size_t most = 10;
  std::string text;
  for (std::size_t i = 0; i < keys.size() && i < most; ++i) {
    text.append(i == 0 ? "" : ", ").append(keyText(keys[i]));
  }
  if (keys.size() > most) text.append(" and ").append(std::to_string(keys.size() - most)).append(" more");
  return text;
}

std::string seconds(double value) {
  std::ostringstream text;
  text << value << " s";
  return text.str();
}

std::string behind(const std::string& separator, const std::optional<std::string>& text) {
  return text ? separator + *text : std::string();
}

std::string runOut(const Lack& lack) {
  return "no answer" + behind(" to ", lack.unanswered) + " within " + seconds(lack.wait) +
         behind("; ", lack.cacheFailure) + "; give it longer with --wait SECONDS";
}

/// A cache that does not keep what it is given makes keys unknown, and lists that came missing.
Reason reasonFor(const Missing& missing, const Lack& lack) {
  const auto* failure = missing.failure();
  const bool isLost = missing.why() == Why::failed && failure->error().as<NotCached>() != nullptr;
  if ((isLost || missing.why() == Why::unknown) && lack.cacheFailure)
    return {ExitCode::cacheUnusable, *lack.cacheFailure};
  switch (missing.why()) {
    case Why::unknown:
      return {ExitCode::someMissing, "the server has none"};
    case Why::notAsked:
      return {ExitCode::someMissing, missing.text()};
    case Why::failed:
      return {ExitCode::requestFailed, reasonOf(*failure) + behind("; ", lack.cacheFailure)};
    case Why::timedOut:
      return {ExitCode::requestFailed, runOut(lack)};
    case Why::notCached:
    case Why::cancelled:
      break;
  }
  return {ExitCode::requestFailed, missing.text()};
}

/// The missing keys by their reasons.
std::vector<Group> groupsIn(const Lack& lack) {
  std::vector<Group> groups;
  for (const auto& key : distinct(lack.keys)) {
    const auto found = lack.missing.find(key);
    if (found == lack.missing.end()) continue;
    auto reason = reasonFor(found->second, lack);
    const auto same = std::find_if(groups.begin(), groups.end(),
                                   [&](const Group& group) { return group.reason == reason; });
    auto& group = same == groups.end() ? groups.emplace_back(Group{std::move(reason), {}}) : *same;
    group.keys.push_back(key);
  }
  return groups;
}

/// How much an exit code counts beside others.
int weightOf(ExitCode exit) {
  const ExitCode rising[] = {ExitCode::answered, ExitCode::someMissing, ExitCode::cacheUnusable,
                             ExitCode::requestFailed};
  return static_cast<int>(std::find(std::begin(rising), std::end(rising), exit) - std::begin(rising));
}

/// Whether a key is missing for that reason, which is then told of the key.
bool isOfAKey(const std::string& reason, const Lack& lack) {
  return std::any_of(lack.missing.begin(), lack.missing.end(), [&](const auto& key) {
    return key.second.failure() != nullptr && reasonOf(*key.second.failure()) == reason;
  });
}

}  // namespace

Verdict verdictOn(const Lack& lack) {
  constexpr std::size_t mostLines = 10;
  Verdict verdict;
  std::size_t untold = 0;
  for (const auto& [reason, keys] : groupsIn(lack)) {
    if (weightOf(reason.exit) > weightOf(verdict.exit)) verdict.exit = reason.exit;
    if (verdict.lines.size() < mostLines) {
      verdict.lines.push_back("no " + lack.what + " for " + list(keys) + ": " + reason.text);
    } else {
      untold += keys.size();
    }
  }
  if (untold > 0)
    verdict.lines.push_back("no " + lack.what + " for " + std::to_string(untold) +
                            " more, for other reasons");
  const auto trouble = lack.trouble ? reasonOf(*lack.trouble) : std::string();
  if (!trouble.empty() && !isOfAKey(trouble, lack))
    verdict.lines.push_back("the answer may be old or incomplete: " + trouble);
  return verdict;
}

}  // namespace vellora::command
