#include "tests/interleaving/Explorer.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

#include "tests/interleaving/Choices.h"
#include "tests/interleaving/Deathbed.h"
#include "tests/interleaving/Obstacle.h"
#include "tests/interleaving/Run.h"

namespace vellora::tests::interleaving {

namespace {

/// Runs the scenario as `choices` say, which stand behind it where the run went.
std::optional<Failure> failureOf(const std::function<void()>& scenario, Choices& choices,
                                 const Limits& limits) {
  Run run(choices, limits);
  if (const auto what = run.execute(scenario)) return Failure{*what, choices.text(), {}};
  return std::nullopt;
}

std::optional<Failure> replayed(const std::function<void()>& scenario, Choices choices) {
  const Limits noLimits{Limits::none, Limits::none};
  Run run(choices, noLimits);
  run.keepTrace();
  if (const auto what = run.execute(scenario)) return Failure{*what, choices.text(), run.trace()};
  return std::nullopt;
}

/// What who has begun others waits for: that none of them runs any more.
class OthersAreRunning final : public Obstacle {
 public:
  OthersAreRunning(const Run& run, const std::vector<std::size_t>& threads) : run_(run), threads_(threads) {}
  [[nodiscard]] bool isGone() const override {
    return std::all_of(threads_.begin(), threads_.end(), [&](auto each) { return run_.hasEnded(each); });
  }
  [[nodiscard]] std::string_view name() const override { return "the end of others"; }

 private:
  const Run& run_;
  const std::vector<std::size_t>& threads_;
};

}  // namespace

Explored explore(const std::function<void()>& scenario, const Limits& limits) {
  Explored explored;
  Choices choices;
  const Deathbed deathbed(choices);
  do {
    ++explored.runs;
    explored.failure = failureOf(scenario, choices, limits);
  } while (!explored.failure && choices.next());
  if (explored.failure) {
    auto again = replay(scenario, explored.failure->schedule).failure;
    if (again && again->what == explored.failure->what) explored.failure = std::move(again);
  }
  return explored;
}

Explored replay(const std::function<void()>& scenario, const std::string& schedule) {
  const auto choices = Choices::parsed(schedule);
  if (!choices) return {0, Failure{"the schedule is none", schedule, {}}};
  return {1, replayed(scenario, *choices)};
}

void atOnce(const std::vector<std::function<void()>>& works) {
  Run& run = *Run::current();
  std::vector<std::size_t> threads;
  for (const auto& work : works) threads.push_back(run.begin(work));
  run.passWhenGone(OthersAreRunning(run, threads), "goes on behind the others", nullptr);
  for (const std::size_t thread : threads) run.acquireEndOf(thread);
}

void awaitRest() {
  Run::current()->passWhenOthersRest();
}

void inOneOrder(const std::function<void()>& work) {
  Run::current()->takeTheFirst(true);
  work();
  awaitRest();
  Run::current()->takeTheFirst(false);
}

void expect(bool holds, const char* what) {
  if (!holds) Run::current()->fail(std::string("not so: ") + what);
}

}  // namespace vellora::tests::interleaving
