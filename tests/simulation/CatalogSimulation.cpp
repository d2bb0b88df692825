#include "tests/simulation/CatalogSimulation.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

#include "tests/simulation/SimulatedCache.h"
#include "tests/simulation/SimulatedCatalog.h"
#include "tests/simulation/World.h"

namespace vellora::simulation {

namespace {

class CatalogSimulation {
 public:
  CatalogSimulation(std::uint64_t seed, bool traced) : world_(seed, traced), cache_(world_) {
    world_.onNameFieldsRequest = [](const CausePtr&) {};
    catalogsLeft_ = 1 + world_.draw.below(2);
    forgets_ = world_.draw.oneIn(4) ? 30 : 0;
    givesUp_ = world_.draw.oneIn(2) ? 10 : 0;
    addCatalog();
  }

  std::optional<std::string> run() {
    while (!world_.firstBreach() && step()) cache_.checkSettled();
    if (!world_.firstBreach()) end();
    if (world_.firstBreach()) world_.abandon();
    return world_.firstBreach();
  }

  void addTo(Tally& tally) const {
    tally.steps += steps_;
    tally.lookups += asked_;
    tally.answers += answered_;
    for (const auto& cause : world_.causes()) {
      tally.requests += cause->requests.size();
      for (const auto& request : cause->requests) {
        tally.faultyAnswers += request->outcome == SentRequest::Outcome::faulty ? 1 : 0;
      }
    }
  }

 private:
  /// Does one of the things that can happen next; false when nothing is left to happen. A deadline is one of
  /// them, so that it comes between any two others, but a rare one: else nothing would be in time.
  bool step() {
    disturb();
    std::vector<std::function<void()>> choices;
    for (std::size_t i = 0; i < world_.queues.choices(); ++i) {
      choices.push_back([this, i] { world_.queues.runChoice(i); });
    }
    for (std::size_t i = 0; i < world_.pendingRequests(); ++i)
      choices.push_back([this, i] { world_.answer(i); });
    for (std::size_t i = 0; i < world_.pendingRepeats(); ++i)
      choices.push_back([this, i] { world_.repeat(i); });
    for (auto& catalog : catalogs_) {
      if (catalog->hasAnswers()) choices.push_back([&] { catalog->runAnswer(); });
      if (catalog->mayAsk()) choices.push_back([&] { catalog->ask(); });
    }
    if (catalogsLeft_ > 0) choices.push_back([this] { addCatalog(); });
    const bool isIdle = choices.empty();
    for (auto& catalog : catalogs_) {
      if (!catalog->hasDeadlines() || !(isIdle || world_.draw.oneIn(8))) continue;
      choices.push_back([&] { catalog->passDeadline(); });
    }
    if (choices.empty()) return false;
    ++steps_;
    choices.at(world_.draw.below(choices.size()))();
    return true;
  }

  /// What may happen before any step.
  void disturb() {
    if (world_.draw.oneIn(world_.hazards.clockJump)) world_.jump();
    if (world_.draw.oneIn(10)) ++world_.revision;
    auto& catalog = *catalogs_.at(world_.draw.below(catalogs_.size()));
    if (world_.draw.oneIn(givesUp_)) catalog.cancelSome();
    if (world_.draw.oneIn(givesUp_)) catalog.stopSome();
    if (world_.draw.oneIn(forgets_)) catalog.forget();
    if (world_.hazards.release != 0 && world_.draw.oneIn(2 * world_.hazards.release)) catalog.release();
  }

  void addCatalog() {
    --catalogsLeft_;
    catalogs_.push_back(std::make_unique<SimulatedCatalog>(world_, cache_));
  }

  /// When nothing is left to happen, and then when everything has been let go of.
  void end() {
    for (auto& catalog : catalogs_) catalog->checkEnded();
    for (auto& catalog : catalogs_) {
      asked_ += catalog->asked();
      answered_ += catalog->answered();
      catalog->release();
    }
    world_.queues.runAll();
    world_.expect(world_.pendingRequests() == 0, "a request is sent although all is over");
    for (auto& catalog : catalogs_) catalog->checkGone();
    cache_.checkSettled();
  }

  World world_;
  SimulatedCache cache_;
  std::vector<std::unique_ptr<SimulatedCatalog>> catalogs_;
  std::size_t catalogsLeft_ = 0;
  std::size_t forgets_ = 0;
  std::size_t givesUp_ = 0;
  std::size_t steps_ = 0;
  std::size_t asked_ = 0;
  std::size_t answered_ = 0;
};

}  // namespace

std::optional<std::string> simulateCatalogs(std::uint64_t seed, bool traced, Tally& tally) {
  CatalogSimulation simulation(seed, traced);
  auto breach = simulation.run();
  simulation.addTo(tally);
  return breach;
}

}  // namespace vellora::simulation
