#include "tests/faults/Trials.h"

#include <optional>
#include <utility>

#include "tests/faults/FaultRun.h"

namespace vellora::faults {

namespace {

constexpr double pastTheTimeout = 3601;

/// What the same service and a new one answer: one text where they agree, else only what is not right.
std::string bothTexts(const std::string& same, const std::string& anew) {
  if (same == anew) return same;
  if (anew == "right") return "same " + same;
  return (same == "right" ? "" : "same " + same + ", ") + "anew " + anew;
}

}  // namespace

const std::vector<std::string>& Trials::states() {
  static const std::vector<std::string> all = {"cold", "primed", "warm", "expired"};
  return all;
}

Trials::Trials(const Operation& operation, const std::string& state) : operation_(operation) {
  std::vector<std::string> everything = {"ids", "names", "search layouts", "compact layouts"};
  if (operation.leavesToItself) everything.push_back(operation.name);
  const auto fill = [&](CacheImage& image, const std::vector<std::string>& names) {
    const auto cache = image.recorder();
    for (const auto& name : names) FaultRun(queues_, cache).perform(operationNamed(name));
  };
  fill(source_, everything);
  if (state == "primed") fill(image_, {"prefetch"});
  if (state == "warm" || state == "expired") fill(image_, everything);
  clock_.advance(state == "expired" ? pastTheTimeout : 1);
  right_ = FaultRun(queues_, image_.copy()).perform(operation);
}

Trials::Trial Trials::run(const std::vector<PlannedFault>& faults) {
  const auto now = clock_.date();
  const auto cache = image_.copy();
  FaultRun run(queues_, cache, &source_);
  for (const auto& [call, fault, lasting] : faults) run.host().plan(call, fault, lasting);

  Trial trial;
  trial.outcome.answer = difference(run.perform(operation_), right_);
  trial.calls = run.host().calls();
  const bool strikesTheRelease = !faults.empty() && faults.back().call >= trial.calls.size();
  std::optional<std::string> same;  // unasked when the faults are yet to come
  if (!strikesTheRelease) {
    run.host().mend();
    same = difference(run.perform(operation_), right_);
    run.host().clearCalls();
  }
  const std::size_t before = run.host().calls().size();
  run.release();
  const auto calls = run.host().calls();
  trial.calls.insert(trial.calls.end(), calls.begin() + static_cast<std::ptrdiff_t>(before), calls.end());
  trial.leftovers = run.leftovers();
  trial.outcome.afterwards = afterwards(same, cache, trial.leftovers);
  clock_.set(now);
  return trial;
}

std::string Trials::afterwards(const std::optional<std::string>& same,
                               const std::shared_ptr<CorvaneSDK::Cache>& cache,
                               std::vector<std::string>& leftovers) {
  const auto answerOf = [&](const Operation& operation) {
    FaultRun run(queues_, cache);
    auto deliveries = run.perform(operation);
    run.release();
    for (auto& left : run.leftovers()) leftovers.push_back(std::move(left) + " of the run after");
    return deliveries;
  };
  const auto anew = difference(answerOf(operation_), right_);
  const auto text = bothTexts(same.value_or(anew), anew);
  if (text == "right") return text;
  clock_.advance(2 * pastTheTimeout);
  answerOf(operationNamed("prefetch"));
  const auto later = difference(answerOf(operation_), right_);
  return later == "right" ? text : text + ", for ever " + later;
}

}  // namespace vellora::faults
