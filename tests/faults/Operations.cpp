#include "tests/faults/Operations.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "tests/faults/CatalogOperations.h"
#include "tests/faults/ConditionalOperation.h"
#include "vellora/DataServices/CompactLayoutDataService.h"
#include "vellora/DataServices/LayoutDataService.h"
#include "vellora/DataServices/SObjectsDataService.h"
#include "vellora/DataServices/ThemeDataService.h"
#include "vellora/Services/VelloraService.h"

namespace vellora::faults {

namespace {

using Service = Operation::Service;
using Names = std::vector<std::string>;

constexpr double cacheTimeout = 3600;

const Names ids = {"001a", "00Bv", "zzz"};
const Names names = {"Account", "Contact", "Nonsense"};
const Names layoutNames = {"Account", "Contact"};

/// A service and the subscriptions to what it answers.
template <class S>
struct Holder {
  std::shared_ptr<S> service;
  std::vector<AnyCancellable> tokens;
};

template <class S, class Make>
std::shared_ptr<Holder<S>> holderOf(const Service& service, Make make) {
  auto holder = std::static_pointer_cast<Holder<S>>(service);
  if (!holder) holder = std::make_shared<Holder<S>>(Holder<S>{make(), {}});
  return holder;
}

template <class S, class Ask>
Operation::Service onService(FaultRun& run, const Service& service, Ask ask) {
  auto holder = holderOf<S>(service, [&] { return std::make_shared<S>(run.api(), cacheTimeout); });
  ask(*holder);
  return holder;
}

template <class Ask>
Operation::Service onFacade(FaultRun& run, const Service& service, Ask ask) {
  auto holder = holderOf<VelloraService>(service, [&] {
    return std::make_shared<VelloraService>(run.platform(), cacheTimeout, "light", run.hostQueue());
  });
  ask(*holder->service);
  return holder;
}

/// Subscribes to a producer of a dictionary: its value and its failure are deliveries, its end is not.
template <class T, class S, class ToDelivery>
void subscribe(Holder<S>& holder, const Publisher<T>& publisher, const std::function<void(Delivery)>& deliver,
               ToDelivery toDelivery) {
  holder.tokens.push_back(
      publisher.sink([deliver, toDelivery](const T& value) { deliver(toDelivery(value)); },
                     [deliver](const std::optional<Error>& error) {
                       if (error) deliver({.entries = std::nullopt, .error = textOf(*error)});
                     }));
}

/// A load's completion as a delivery.
template <class E>
Delivery loaded(const std::optional<E>& error) {
  return {.entries = std::nullopt, .error = textOf(error)};
}

template <class Layout>
Delivery listed(const std::optional<std::vector<Layout>>& layouts,
                const std::optional<SObjectsDataServiceError>& error) {
  if (!layouts) return {.entries = std::nullopt, .error = textOf(error)};
  std::vector<std::pair<std::string, Layout>> keyed;
  for (const auto& layout : *layouts) keyed.emplace_back(layout.objectType, layout);
  return deliveryOf(keyed, textOf(error));
}

template <class Layouts>
Delivery keyed(const std::optional<Layouts>& layouts) {
  return layouts ? deliveryOf(*layouts) : Delivery{.entries = std::nullopt, .error = {}};
}

/// Delivers each state that the prefetch ends in. A façade that is there already is made to prefetch again by
/// a lookup of no ids.
Service prefetch(FaultRun& run, const Service& service) {
  auto asked = onFacade(run, service, [&](VelloraService& facade) {
    if (service) facade.objectPresentationInfoForIds({}, nullptr);
  });
  const auto holder = std::static_pointer_cast<Holder<VelloraService>>(asked);
  holder->tokens.clear();
  holder->tokens.push_back(holder->service->primerStateStream().sink(
      [deliver = run.deliver()](const VelloraService::State& state) {
        if (state == VelloraService::State::isLoading()) return;
        deliver({.entries = std::nullopt, .error = state.error() ? textOf(*state.error()) : ""});
      }));
  return asked;
}

std::map<std::string, SObject> presentOnes(const std::map<std::string, std::optional<SObject>>& sObjects) {
  std::map<std::string, SObject> present;
  for (const auto& [name, sObject] : sObjects) {
    if (sObject) present.emplace(name, *sObject);
  }
  return present;
}

Delivery typesAndInstances(const std::map<std::string, SObjectsDataService::TypeAndInstance>& found) {
  Delivery delivery{.entries = {{}}, .error = {}};
  for (const auto& [id, both] : found) {
    if (!both.type) continue;
    auto entry = entryOf(*both.type);
    if (both.instance) {
      const auto instance = entryOf(*both.instance);
      entry.text += " of " + instance.text;
      entry.content += instance.content;
    }
    delivery.entries->emplace(id, std::move(entry));
  }
  return delivery;
}

std::vector<Operation> facadeOperations() {
  return {
      {"prefetch", prefetch, true},
      {"ids",
       [](FaultRun& run, const Service& service) {
         return onFacade(run, service, [&](VelloraService& facade) {
           facade.objectPresentationInfoForIds(
               ids, [deliver = run.deliver()](const auto& infos) { deliver(deliveryOf(infos)); });
         });
       },
       true},
      {"names",
       [](FaultRun& run, const Service& service) {
         return onFacade(run, service, [&](VelloraService& facade) {
           facade.objectPresentationInfoForApiNames(
               names, [deliver = run.deliver()](const auto& infos) { deliver(deliveryOf(infos)); });
         });
       }},
      {"search layouts",
       [](FaultRun& run, const Service& service) {
         return onFacade(run, service, [&](VelloraService& facade) {
           facade.objectLayoutInfoForApiNames(
               layoutNames, [deliver = run.deliver()](const auto& layouts) { deliver(keyed(layouts)); });
         });
       }},
      {"compact layouts",
       [](FaultRun& run, const Service& service) {
         return onFacade(run, service, [&](VelloraService& facade) {
           facade.objectCompactLayoutInfoForApiNames(
               layoutNames, [deliver = run.deliver()](const auto& layouts) { deliver(keyed(layouts)); });
         });
       }},
  };
}

std::vector<Operation> serviceOperations() {
  return {
      {"loadThemes",
       [](FaultRun& run, const Service& service) {
         return onService<ThemeDataService>(run, service, [&](auto& holder) {
           holder.service->loadThemes(
               [deliver = run.deliver()](const auto& error) { deliver(loaded(error)); });
         });
       }},
      {"themes(for:)",
       [](FaultRun& run, const Service& service) {
         return onService<ThemeDataService>(run, service, [&](auto& holder) {
           subscribe(holder, holder.service->themes(names), run.deliver(),
                     [](const auto& found) { return deliveryOf(found); });
         });
       }},
      {"loadSObjects",
       [](FaultRun& run, const Service& service) {
         return onService<SObjectsDataService>(run, service, [&](auto& holder) {
           holder.service->loadSObjects(
               [deliver = run.deliver()](const auto& error) { deliver(loaded(error)); });
         });
       }},
      {"sObjectsForIds",
       [](FaultRun& run, const Service& service) {
         return onService<SObjectsDataService>(run, service, [&](auto& holder) {
           subscribe(holder, holder.service->sObjectsForIds(ids), run.deliver(), typesAndInstances);
         });
       }},
      {"sObjectsForNames",
       [](FaultRun& run, const Service& service) {
         return onService<SObjectsDataService>(run, service, [&](auto& holder) {
           subscribe(holder, holder.service->sObjectsForNames(names), run.deliver(),
                     [](const auto& found) { return deliveryOf(presentOnes(found)); });
         });
       }},
      {"layoutForApiName",
       [](FaultRun& run, const Service& service) {
         return onService<LayoutDataService>(run, service, [&](auto& holder) {
           holder.service->layoutForApiName(layoutNames,
                                            [deliver = run.deliver()](const auto& list, const auto& error) {
                                              deliver(listed(list, error));
                                            });
         });
       }},
      {"compactLayoutForApiName",
       [](FaultRun& run, const Service& service) {
         return onService<CompactLayoutDataService>(run, service, [&](auto& holder) {
           holder.service->compactLayoutForApiName(
               layoutNames, [deliver = run.deliver()](const auto& list, const auto& error) {
                 deliver(listed(list, error));
               });
         });
       }},
      {"qualifiedApiNameAsPublisher",
       [](FaultRun& run, const Service& service) {
         return onService<CompactLayoutDataService>(run, service, [&](auto& holder) {
           subscribe(holder, holder.service->qualifiedApiNameAsPublisher("'User'"), run.deliver(),
                     [](const auto& info) { return deliveryOf(info.entityApiNames); });
         });
       }},
  };
}

}  // namespace

const std::vector<Operation>& operations() {
  static const std::vector<Operation> all = [] {
    auto every = facadeOperations();
    for (auto& operation : serviceOperations()) every.push_back(std::move(operation));
    for (auto& operation : catalogOperations()) every.push_back(std::move(operation));
    every.push_back(conditionalOperation());
    return every;
  }();
  return all;
}

const Operation& operationNamed(const std::string& name) {
  const auto found = std::find_if(operations().begin(), operations().end(),
                                  [&](const Operation& operation) { return operation.name == name; });
  if (found == operations().end()) std::abort();
  return *found;
}

}  // namespace vellora::faults
