#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/simulation/SimulatedHost.h"
#include "tests/simulation/World.h"
#include "vellora/Services/VelloraService.h"

namespace vellora::simulation {

/// One façade in a world, and the model of what it must do: which lookups it owes an answer, whether it must
/// be alive, which states it may go through. Completions and observers of its state start further lookups,
/// and release it, as the seed has it.
class SimulatedFacade {
 public:
  SimulatedFacade(World& world, SimulatedCache& cache);
  SimulatedFacade(const SimulatedFacade&) = delete;
  SimulatedFacade& operator=(const SimulatedFacade&) = delete;

  /// Constructs the façade; observers of its state may start lookups within.
  void construct();

  [[nodiscard]] bool mayLookUp() const { return service_ != nullptr && !unused_.empty(); }

  /// Starts a lookup of a kind and of keys that are drawn.
  void lookUp();

  /// Drops the handle.
  void release();

  void noteNameFieldsRequest(const CausePtr& cause);

  /// To be called when nothing runs: what has nothing left to wait for must be over.
  void checkSettled();

  /// To be called when nothing is left to happen.
  void checkEnded();

 private:
  struct Lookup {
    CausePtr cause;
    std::weak_ptr<int> completion;  ///< alive as long as the completion is
    bool over = false;
  };

  static constexpr int lookups = 6;

  void noteLog(std::string_view message);
  void noteState(const VelloraService::State& state);
  void startIds(const CausePtr& cause);
  void noteAnswer(const CausePtr& cause);
  void checkLookup(Lookup& lookup);
  [[nodiscard]] bool isHeldBy(const Lookup& lookup) const;
  [[nodiscard]] bool mustBeAlive() const;
  [[nodiscard]] CausePtr waitingIdsOfCount(std::string_view count) const;
  [[nodiscard]] std::vector<std::string> drawnKeys(bool ids, std::size_t count);

  template <class Answer, class Check>
  auto completion(const CausePtr& cause, Check check);

  World& world_;
  SimulatedCache& cache_;
  SimulatedHost host_;
  std::vector<CausePtr> prefetches_;
  std::vector<std::size_t> unused_;  ///< how many keys the next lookups ask for: no two the same number
  std::vector<Lookup> started_;
  CausePtr pendingNameFields_;

  std::optional<VelloraService::State> state_;
  int stateChanges_ = 0;
  int announcements_ = 0;
  int failures_ = 0;
  int loads_ = 0;
  int purges_ = 0;
  bool ended_ = false;

  std::unique_ptr<VelloraService> service_;
  AnyCancellable states_;
  AnyCancellable announced_;
};

}  // namespace vellora::simulation
