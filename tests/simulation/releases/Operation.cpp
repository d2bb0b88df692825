#include "tests/simulation/releases/Operation.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <utility>

#include "vellora/Catalog/Catalog.h"
#include "vellora/DataServices/CompactLayoutDataService.h"
#include "vellora/DataServices/LayoutDataService.h"
#include "vellora/DataServices/SObjectsDataService.h"
#include "vellora/DataServices/ThemeDataService.h"
#include "vellora/Host/RequiredAPI.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"
#include "vellora/Services/VelloraService.h"

namespace vellora::releases {

namespace {

using namespace std::chrono_literals;
using Group = Operation::Group;
using Names = std::vector<std::string>;

std::string counted(std::size_t count) {
  return std::to_string(count);
}

/// Keeps what gives something up when it is destroyed.
template <class Token>
void keep(Stage& stage, Token token) {
  stage.token = std::make_shared<Token>(std::move(token));
}

// Façades. A call may release the façade that it is made on, so nothing here holds one.

void makeFacade(Stage& stage) {
  const auto queue = std::make_shared<SerialDispatchQueue>("VelloraService.queue");
  stage.owner = std::make_shared<VelloraService>(stage.host(), Stage::cacheTimeout, "light", queue);
}

template <class Ask>
Operation ofFacade(std::string name, Promise promise, Ask ask) {
  const auto askOwner = [ask](Stage& stage) {
    if (stage.owner) ask(stage, *static_cast<VelloraService*>(stage.owner.get()));
  };
  return {std::move(name), Group::facade, promise, makeFacade, askOwner};
}

/// A completion that only tells how much there is.
auto count(Stage& stage) {
  return [&stage](const auto& infos) { stage.answered(counted(infos.size())); };
}
auto countLayouts(Stage& stage) {
  return [&stage](const auto& layouts) { stage.answered(layouts ? counted(layouts->size()) : "none"); };
}

std::vector<Operation> ofFacades() {
  using Service = VelloraService;
  return {
      ofFacade("prefetch", Promise::silence,
               [](Stage& stage, Service& service) {
                 keep(stage, service.primerStateStream().sink([&stage](const Service::State& state) {
                   stage.answered(state.description());
                 }));
               }),
      ofFacade("ids", Promise::silence,
               [](Stage& stage, Service& service) {
                 service.objectPresentationInfoForIds({"001a", "003b", "zzz"}, count(stage));
               }),
      ofFacade("listView", Promise::silence,
               [](Stage& stage, Service& service) {
                 service.objectPresentationInfoForIds({"00Baccounts", "00Borders"}, count(stage));
               }),
      ofFacade("names", Promise::silence,
               [](Stage& stage, Service& service) {
                 service.objectPresentationInfoForApiNames({"Account", "Nothing"}, count(stage));
               }),
      ofFacade("searchLayouts", Promise::answer,
               [](Stage& stage, Service& service) {
                 service.objectLayoutInfoForApiNames({"Account", "Order"}, countLayouts(stage));
               }),
      ofFacade("compactLayouts", Promise::answer,
               [](Stage& stage, Service& service) {
                 service.objectCompactLayoutInfoForApiNames({"Account", "Order"}, countLayouts(stage));
               }),
  };
}

// Data services, each on its own.

template <class Service, class Ask>
Operation ofService(std::string name, Promise promise, Ask ask) {
  const auto make = [](Stage& stage) {
    const RequiredAPI api(stage.host()->network(), stage.host()->cache(), stage.host()->logger());
    stage.owner = std::make_shared<Service>(api, Stage::cacheTimeout);
  };
  const auto askOwner = [ask](Stage& stage) {
    if (const auto service = std::static_pointer_cast<Service>(stage.owner)) ask(stage, *service);
  };
  return {std::move(name), Group::service, promise, make, askOwner};
}

template <class Value>
void watch(Stage& stage, const Publisher<Value>& publisher) {
  keep(stage, publisher.sink([&stage](const Value& found) { stage.answered(counted(found.size())); },
                             [](const Completion&) {}));
}

auto toldOfLoad(Stage& stage) {
  return [&stage](const auto& error) { stage.answered(error ? "failed" : "loaded"); };
}

auto toldOfLayouts(Stage& stage) {
  return [&stage](const auto& layouts, const auto& error) {
    stage.answered(counted(layouts ? layouts->size() : 0) + (error ? " and an error" : ""));
  };
}

std::vector<Operation> ofServices() {
  const auto mayBe = Promise::mayBeAnswered;
  return {
      ofService<SObjectsDataService>(
          "loadTypes", Promise::silence,
          [](Stage& stage, SObjectsDataService& service) { service.loadSObjects(toldOfLoad(stage)); }),
      ofService<SObjectsDataService>("typesOfIds", mayBe,
                                     [](Stage& stage, SObjectsDataService& service) {
                                       watch(stage, service.sObjectsForIds({"001a", "00Baccounts", "zzz"}));
                                     }),
      ofService<SObjectsDataService>("typesOfNames", mayBe,
                                     [](Stage& stage, SObjectsDataService& service) {
                                       watch(stage, service.sObjectsForNames({"Account", "Nothing"}));
                                     }),
      ofService<ThemeDataService>(
          "loadThemes", mayBe,
          [](Stage& stage, ThemeDataService& service) { service.loadThemes(toldOfLoad(stage)); }),
      ofService<ThemeDataService>("themes", Promise::goesOn,
                                  [](Stage& stage, ThemeDataService& service) {
                                    watch(stage, service.themes({"Account", "Order"}));
                                  }),
      ofService<LayoutDataService>("searchLayoutList", Promise::passedOn,
                                   [](Stage& stage, LayoutDataService& service) {
                                     service.layoutForApiName({"Account", "Order"}, toldOfLayouts(stage));
                                   }),
      ofService<CompactLayoutDataService>(
          "compactLayoutList", mayBe,
          [](Stage& stage, CompactLayoutDataService& service) {
            service.compactLayoutForApiName({"Account", "Order"}, toldOfLayouts(stage));
          }),
  };
}

// Catalogues.

void makeCatalog(Stage& stage) {
  stage.owner = std::make_shared<Catalog>(
      stage.host(), CatalogOptions{.cacheTimeout = std::chrono::duration<double>(Stage::cacheTimeout),
                                   .answersOn = stage.answersOn(),
                                   .timer = stage.timer(),
                                   .retry = {.jitter = [] { return 1.0; }}});
}

/// `act(stage, catalog)` with a catalogue that lives until it returns, as its callers must see to.
template <class Act>
Operation::Act withCatalog(Act act) {
  return [act](Stage& stage) {
    if (const auto catalog = std::static_pointer_cast<Catalog>(stage.owner)) act(stage, *catalog);
  };
}

template <class T>
void wait(Stage& stage, Question<T> question) {
  keep(stage, std::move(question).then([&stage](const Answer<T>& answer) {
    stage.answered(counted(answer.found.size()) + " found, " + counted(answer.missing.size()) + " missing");
  }));
}

template <class Question>
Operation ofCatalog(std::string name, Question question) {
  const auto ask =
      withCatalog([question](Stage& stage, Catalog& catalog) { wait(stage, question(catalog)); });
  return {std::move(name), Group::catalog, Promise::noAnswer, makeCatalog, ask};
}

const QuestionOptions soon{.deadline = 5s};

/// A question, and after some steps something else that the catalogue is told.
template <class Act>
Operation ofCatalogInterrupted(std::string name, Act act) {
  const auto ask = withCatalog([](Stage& stage, Catalog& catalog) {
    wait(stage, catalog.records({"001a", "00Baccounts"}, soon));
  });
  return {std::move(name), Group::catalog, Promise::noAnswer, makeCatalog, ask, withCatalog(act)};
}

Operation watchOfCatalog() {
  const auto ask = withCatalog([](Stage& stage, Catalog& catalog) {
    keep(stage,
         catalog.watch([&catalog] { return catalog.headlines({"Account"}, soon); },
                       [&stage](const auto& answer) { stage.answered(counted(answer.found.size())); }));
  });
  const auto refresh = withCatalog(
      [](Stage&, Catalog& catalog) { catalog.refresh({.deadline = 5s}).then([](const auto&) {}).detach(); });
  return {"watch", Group::catalog, Promise::noAnswer, makeCatalog, ask, refresh};
}

Operation readinessOfCatalog() {
  const auto ask = withCatalog([](Stage& stage, Catalog& catalog) {
    keep(stage, catalog.readinessStream().sink([&stage](const Readiness&) { stage.answered("readiness"); }));
  });
  return {"readiness", Group::catalog, Promise::noAnswer, makeCatalog, ask};
}

std::vector<Operation> ofCatalogs() {
  return {
      ofCatalog("records",
                [](Catalog& catalog) {
                  return catalog.records({"001a", "zzz"}, soon);
                }),
      ofCatalog("listViewRecords", [](Catalog& catalog) { return catalog.records({"00Baccounts"}, soon); }),
      ofCatalog("types",
                [](Catalog& catalog) {
                  return catalog.types({"Account", "Nothing"}, soon);
                }),
      ofCatalog("allTypes", [](Catalog& catalog) { return catalog.allTypes("", soon); }),
      ofCatalog("searchColumns", [](Catalog& catalog) { return catalog.searchColumns({"Account"}, soon); }),
      ofCatalog("headlines", [](Catalog& catalog) { return catalog.headlines({"Account"}, soon); }),
      ofCatalog("refresh", [](Catalog& catalog) { return catalog.refresh({.deadline = 5s}); }),
      ofCatalogInterrupted("forget", [](Stage&, Catalog& catalog) { catalog.forget(); }),
      ofCatalogInterrupted("cancel", [](Stage& stage, Catalog&) { stage.token.reset(); }),
      watchOfCatalog(),
      readinessOfCatalog(),
  };
}

}  // namespace

const std::vector<Operation>& operations() {
  static const std::vector<Operation> all = [] {
    auto joined = ofFacades();
    for (auto&& group : {ofServices(), ofCatalogs()}) joined.insert(joined.end(), group.begin(), group.end());
    return joined;
  }();
  return all;
}

const Operation* operationNamed(const std::string& name) {
  const auto& all = operations();
  const auto found = std::find_if(all.begin(), all.end(), [&](const auto& one) { return one.name == name; });
  return found == all.end() ? nullptr : &*found;
}

}  // namespace vellora::releases
