#include "apps/vellora/command/Verdict.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <sstream>
#include <utility>

#include "apps/vellora/command/Advice.h"
#include "apps/vellora/command/AgeText.h"
#include "apps/vellora/command/Output.h"
#include "apps/vellora/command/Reason.h"
#include "hostkit/network/CurlNetworkError.h"
#include "vellora/Catalog/QuestionError.h"
#include "vellora/DataServices/NotCached.h"
#include "vellora/Platform/Json/DecodingError.h"

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
  if (isLost && lack.isOffline) return reasonFor(Missing(Why::notCached), lack);
  if ((isLost || missing.why() == Why::unknown) && lack.cacheFailure)
    return {ExitCode::cacheUnusable, *lack.cacheFailure};
  switch (missing.why()) {
    case Why::unknown:
      return {ExitCode::someMissing, "the server has none"};
    case Why::notAsked:
      return {ExitCode::someMissing, missing.text()};
    case Why::failed:
      return {ExitCode::requestFailed, reasonWithAdvice(*failure) + behind("; ", lack.cacheFailure)};
    case Why::timedOut:
      return {ExitCode::requestFailed, runOut(lack)};
    case Why::notCached:
      if (lack.isOffline && lack.cacheFailure) return {ExitCode::cacheUnusable, *lack.cacheFailure};
      if (lack.isOffline)
        return {ExitCode::someMissing, "not in the cache; leave --offline out to ask the server"};
      break;
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

/// What the keys were probably meant to be; empty where nothing is near.
std::string meantBy(const std::vector<std::string>& keys, const Lack& lack) {
  std::vector<std::string> names;
  for (const auto& key : keys) {
    const auto found = lack.meant.find(key);
    if (found != lack.meant.end()) names.push_back(found->second);
  }
  return names.empty() ? std::string() : "; did you mean " + list(distinct(names)) + "?";
}

/// Why nothing newer came, behind "from the cache, 3 days old".
std::string whyNothingNewerCame(const Failure& trouble, const Lack& lack) {
  const Error& error = trouble.error();
  const auto* ofQuestion = error.as<QuestionError>();
  if (ofQuestion != nullptr && ofQuestion->errorCase == QuestionError::Case::timedOut) return runOut(lack);
  const auto* ofNetwork = error.as<hostkit::CurlNetworkError>();
  using Kind = hostkit::CurlNetworkError::Kind;
  const bool hasAnswered = ofNetwork != nullptr && ofNetwork->kind == Kind::errorStatus;
  if (hasAnswered) return "the server answered: " + reasonWithAdvice(trouble);
  const bool isUnreadable = error.as<DecodingError>() != nullptr;
  return (isUnreadable ? "" : "the server did not answer: ") + reasonWithAdvice(trouble);
}

/// What is to be told of what was found; empty where nothing is.
std::string noteOn(const Lack& lack) {
  const auto trouble = lack.trouble ? reasonOf(*lack.trouble) : std::string();
  const bool isTold = trouble.empty() || isOfAKey(trouble, lack);
  if (lack.old) {
    const std::string old = "from the cache, " + ageWords(lack.old->ageSeconds);
    return isTold ? old : old + "; " + whyNothingNewerCame(*lack.trouble, lack);
  }
  return isTold ? "" : "the answer may be old or incomplete: " + reasonWithAdvice(*lack.trouble);
}

}  // namespace

Verdict verdictOn(const Lack& lack) {
  constexpr std::size_t mostLines = 10;
  Verdict verdict;
  std::size_t untold = 0;
  for (const auto& [reason, keys] : groupsIn(lack)) {
    if (weightOf(reason.exit) > weightOf(verdict.exit)) verdict.exit = reason.exit;
    if (verdict.lines.size() < mostLines) {
      verdict.lines.push_back("no " + lack.what + " for " + list(keys) + ": " + reason.text +
                              meantBy(keys, lack));
    } else {
      untold += keys.size();
    }
  }
  if (untold > 0)
    verdict.lines.push_back("no " + lack.what + " for " + std::to_string(untold) +
                            " more, for other reasons");
  if (auto note = noteOn(lack); !note.empty()) verdict.notes.push_back(std::move(note));
  return verdict;
}

Verdict verdictOnNothing(const Missing& why, const Lack& lack) {
  const auto reason = reasonFor(why, lack);
  return {reason.exit, {"no " + lack.what + "s: " + reason.text}, {}};
}

}  // namespace vellora::command
