#include "tests/simulation/Simulation.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "tests/simulation/SimulatedCache.h"
#include "tests/simulation/SimulatedFacade.h"
#include "tests/simulation/SimulatedServices.h"
#include "tests/simulation/World.h"

namespace vellora::simulation {

namespace {

class Simulation {
 public:
  Simulation(std::uint64_t seed, bool traced) : world_(seed, traced), cache_(world_) {
    world_.onNameFieldsRequest = [this](const CausePtr& cause) {
      for (auto& facade : facades_) facade->noteNameFieldsRequest(cause);
      if (services_) services_->noteNameFieldsRequest(cause);
    };
    facadesLeft_ = 1 + world_.draw.below(3);
    if (world_.draw.oneIn(3)) services_ = std::make_unique<SimulatedServices>(world_, cache_);
    addFacade();
  }

  std::optional<std::string> run() {
    while (!world_.firstBreach() && step()) checkSettled();
    if (!world_.firstBreach()) end();
    if (world_.firstBreach()) world_.abandon();
    return world_.firstBreach();
  }

  void addTo(Tally& tally) const {
    tally.steps += steps_;
    for (const auto& cause : world_.causes()) {
      const bool lookup = cause->kind != Cause::Kind::nobody && cause->kind != Cause::Kind::prefetch;
      tally.lookups += lookup ? 1 : 0;
      tally.answers += static_cast<std::size_t>(cause->calls);
      tally.requests += cause->requests.size();
      for (const auto& request : cause->requests) {
        tally.faultyAnswers += request->outcome == SentRequest::Outcome::faulty ? 1 : 0;
      }
    }
  }

 private:
  /// Does one of the things that can happen next; false when nothing is left to happen.
  bool step() {
    const auto mayLookUp = std::count_if(facades_.begin(), facades_.end(),
                                         [](const auto& facade) { return facade->mayLookUp(); });
    const bool servicesMayLookUp = services_ && services_->mayLookUp();
    const std::size_t work = world_.queues.choices();
    const std::size_t requests = world_.pendingRequests();
    const std::size_t repeats = world_.pendingRepeats();
    const std::size_t starts =
        static_cast<std::size_t>(mayLookUp) + (servicesMayLookUp ? 1 : 0) + (facadesLeft_ > 0 ? 1 : 0);
    if (work + requests + repeats + starts == 0) return false;
    ++steps_;
    disturb();

    std::size_t choice = world_.draw.below(work + requests + repeats + starts);
    if (choice < world_.queues.choices() && choice < work) {
      world_.queues.runChoice(choice);
    } else if (choice -= work; choice < requests) {
      if (choice < world_.pendingRequests()) world_.answer(choice);
    } else if (choice -= requests; choice < repeats) {
      if (choice < world_.pendingRepeats()) world_.repeat(choice);
    } else {
      start(choice - repeats);
    }
    return true;
  }

  /// What may happen before any step.
  void disturb() {
    if (world_.draw.oneIn(world_.hazards.clockJump)) world_.jump();
    if (world_.draw.oneIn(10)) ++world_.revision;
    if (world_.draw.oneIn(world_.hazards.release)) {
      facades_.at(world_.draw.below(facades_.size()))->release();
    }
    if (!services_) return;
    if (world_.draw.oneIn(world_.hazards.release)) services_->release();
    if (world_.draw.oneIn(world_.hazards.release)) services_->cancel();
  }

  void start(std::size_t choice) {
    for (std::size_t place = 0; place < facades_.size(); ++place) {
      auto& facade = *facades_.at(place);
      if (!facade.mayLookUp()) continue;
      if (choice == 0) return facade.lookUp();
      --choice;
    }
    if (services_ && services_->mayLookUp()) {
      if (choice == 0) return services_->lookUp();
      --choice;
    }
    if (choice == 0 && facadesLeft_ > 0) addFacade();
  }

  void addFacade() {
    --facadesLeft_;
    facades_.push_back(std::make_unique<SimulatedFacade>(world_, cache_));
    facades_.back()->construct();
  }

  void checkSettled() {
    for (auto& facade : facades_) facade->checkSettled();
    if (services_) services_->checkSettled();
    cache_.checkSettled();
  }

  /// When nothing is left to happen, and then when everything has been let go of.
  void end() {
    checkSettled();
    for (auto& facade : facades_) facade->checkEnded();
    for (auto& facade : facades_) facade->release();
    if (services_) services_->releaseAll();
    world_.expect(world_.queues.pending() == 0, "work is submitted although all is over");
    checkSettled();
  }

  World world_;
  SimulatedCache cache_;
  std::vector<std::unique_ptr<SimulatedFacade>> facades_;
  std::unique_ptr<SimulatedServices> services_;
  std::size_t facadesLeft_ = 0;
  std::size_t steps_ = 0;
};

}  // namespace

std::optional<std::string> simulate(std::uint64_t seed, bool traced, Tally& tally) {
  Simulation simulation(seed, traced);
  auto breach = simulation.run();
  simulation.addTo(tally);
  return breach;
}

}  // namespace vellora::simulation
