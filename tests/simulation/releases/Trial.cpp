#include "tests/simulation/releases/Trial.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "tests/simulation/releases/Operation.h"
#include "tests/simulation/releases/Stage.h"
#include "tests/support/AllocationCounter.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora::releases {

namespace {

using Trace = std::vector<std::string>;

std::size_t liveBlocks() {
  json::releaseParser();  // a thread may keep one, or not
  return tests::LiveMemory::now().blocks;
}

void prepare(Stage& stage, const Operation& operation, Cached cached) {
  if (cached == Cached::nothing) return;
  stage.call([&] { operation.make(stage); });
  if (cached == Cached::loaded) return stage.settle([] {});
  stage.call([&] { operation.ask(stage); });
  stage.settle([] {});
  stage.token.reset();
  stage.owner.reset();
  stage.settle([] {});
  if (cached == Cached::expired) stage.clock.advance(2 * Stage::cacheTimeout);
}

bool saysWrite(const std::string& line) {
  const std::string_view text(line);
  return text.starts_with("save") || text.starts_with("upsert") || text.starts_with("remove") ||
         text.starts_with("log");
}

bool saysAnswer(const std::string& line) {
  return line.starts_with("answer");
}

/// What a service says when it goes, and trims its rows.
bool saysTrim(const std::string& line) {
  return line.find("enforceCacheCount()") != std::string::npos;
}

/// The first line that `isForbidden`; no value for none.
template <class IsForbidden>
std::optional<std::string> firstOf(const Trace& trace, IsForbidden isForbidden) {
  const auto found = std::find_if(trace.begin(), trace.end(), isForbidden);
  return found == trace.end() ? std::nullopt : std::optional(*found);
}

std::optional<std::string> forbiddenAfter(const Trace& after, Promise promise) {
  switch (promise) {
    case Promise::silence:
      return firstOf(after, [](const std::string&) { return true; });
    case Promise::noAnswer:
      return firstOf(after, [](const std::string& line) {
        return saysAnswer(line) || (saysWrite(line) && !saysTrim(line));
      });
    case Promise::passedOn:
    case Promise::mayBeAnswered:
      return firstOf(after, [](const std::string& line) { return saysWrite(line) && !saysTrim(line); });
    case Promise::answer:
    case Promise::goesOn:
      break;
  }
  return std::nullopt;
}

/// Whether what has been released is none of the app's own things, but handles that the library has, too.
bool isOfHost(const Release& release) {
  return release.thing != Thing::owner && release.thing != Thing::token && release.thing != Thing::everything;
}

/// One run, which is over when this is constructed, but for what lets go of it all.
class Execution {
 public:
  Execution(const Case& tried, bool isTraced)
      : tried_(tried), operation_(*operationNamed(tried.operation)), stage_(tried, isTraced) {
    prepare(stage_, operation_, tried.cached);
    stage_.begin();
    if (tried.cached != Cached::loaded) stage_.call([this] { operation_.make(stage_); });
    isAsked_ = stage_.owner != nullptr;
    stage_.call([this] { operation_.ask(stage_); });
    hasToken_ = stage_.token != nullptr;
    stage_.settle([this] { operation_.midway(stage_); });
    left_ = stage_.end();
  }

  [[nodiscard]] Run run() const { return {stage_.trace(), stage_.moments(), stage_.answers(), hasToken_}; }

  [[nodiscard]] Outcome outcome(const Run& undisturbed) const {
    return {breach(undisturbed), stage_.hasReleased()};
  }

 private:
  [[nodiscard]] std::optional<std::string> breach(const Run& undisturbed) const {
    if (!left_.empty()) return "something keeps alive:" + left_;
    if (stage_.answers() > std::max<std::size_t>(1, undisturbed.answers)) return "it is answered twice";
    const bool mustBeAnswered =
        operation_.promise == Promise::answer || operation_.promise == Promise::passedOn;
    if (mustBeAnswered && isAsked_ && stage_.answers() < undisturbed.answers) return "it is not answered";
    if (auto broken = promiseBroken()) return broken;
    const auto& releases = tried_.releases;
    if (!std::all_of(releases.begin(), releases.end(), isOfHost)) return std::nullopt;
    if (stage_.trace() != undisturbed.trace) return "it matters which handles the host has kept";
    return std::nullopt;
  }

  [[nodiscard]] std::optional<std::string> promiseBroken() const {
    for (const auto thing : {Thing::owner, Thing::everything}) {
      if (const auto line = forbiddenAfter(stage_.traceAfter(thing), operation_.promise)) {
        return "after its release: " + *line;
      }
    }
    if (const auto line = firstOf(stage_.traceAfter(Thing::token), saysAnswer)) {
      return "after it was given up: " + *line;
    }
    return std::nullopt;
  }

  const Case& tried_;
  const Operation& operation_;
  Stage stage_;
  bool isAsked_ = false;
  bool hasToken_ = false;
  std::string left_;
};

}  // namespace

Trial::Trial(Case undisturbed) : case_(std::move(undisturbed)), undisturbed_(Execution(case_, false).run()) {}

Outcome Trial::outcome(std::vector<Release> releases, bool isTraced) {
  case_.releases = std::move(releases);
  const auto before = liveBlocks();
  Outcome outcome = Execution(case_, isTraced).outcome(undisturbed_);
  if (!outcome.breach && liveBlocks() != before) outcome.breach = "memory is left";
  return outcome;
}

}  // namespace vellora::releases
