#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/simulation/SimulatedHost.h"
#include "tests/simulation/World.h"
#include "vellora/DataServices/CompactLayoutDataService.h"
#include "vellora/DataServices/LayoutDataService.h"
#include "vellora/DataServices/SObjectsDataService.h"
#include "vellora/DataServices/ThemeDataService.h"
#include "vellora/Platform/Publishers/AnyCancellable.h"

namespace vellora::simulation {

/// The four data services without a façade. Each has a host of its own, and can be released while its lookups
/// and their tokens live on.
class SimulatedServices {
 public:
  SimulatedServices(World& world, SimulatedCache& cache);
  SimulatedServices(const SimulatedServices&) = delete;
  SimulatedServices& operator=(const SimulatedServices&) = delete;

  [[nodiscard]] bool mayLookUp() const { return left_ > 0; }

  /// Calls a drawn operation of a drawn service, if that one is still there.
  void lookUp();

  /// Drops a drawn service.
  void release();
  void releaseAll();

  /// Cancels a drawn subscription.
  void cancel();

  void noteNameFieldsRequest(const CausePtr& cause);
  void checkSettled();

 private:
  struct Lookup {
    CausePtr cause;
    AnyCancellable token;
    std::weak_ptr<int> completion;
    bool over = false;
  };

  template <class Service>
  struct Single {
    Single(World& world, SimulatedCache& cache)
        : host(world, cache, nullptr), service(std::make_shared<Service>(host.api(), World::timeout)) {}
    SimulatedHost host;
    std::shared_ptr<Service> service;
  };

  void start(Cause::Kind kind, Lookup& lookup);
  template <class Value, class Check>
  void watch(const Publisher<Value>& publisher, Lookup& lookup, Check check);
  template <class Layout, class Check>
  auto layoutCompletion(Lookup& lookup, Check check);
  template <class LoadError>
  auto loadCompletion(Lookup& lookup);
  [[nodiscard]] std::shared_ptr<int> watched(Lookup& lookup) const;
  void noteEnd(const CausePtr& cause);
  void forgiveAll(const std::function<bool(const Cause& cause)>& concerned);

  World& world_;
  Single<SObjectsDataService> sObjects_;
  Single<ThemeDataService> themes_;
  Single<LayoutDataService> layouts_;
  Single<CompactLayoutDataService> compactLayouts_;
  std::vector<std::unique_ptr<Lookup>> started_;
  CausePtr pendingNameFields_;
  int left_ = 5;
};

}  // namespace vellora::simulation
