#include "tests/simulation/SimulatedServices.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "tests/simulation/Expectations.h"

namespace vellora::simulation {

namespace {

using Endpoint = SimulatedServer::Endpoint;
using Kind = Cause::Kind;
using Outcome = SentRequest::Outcome;

constexpr std::array<Kind, 7> kinds{Kind::sObjectsLoad,     Kind::themesLoad, Kind::sObjectsForIds,
                                    Kind::sObjectsForNames, Kind::themes,     Kind::searchLayoutList,
                                    Kind::compactLayoutList};

std::vector<std::string> drawnKeys(Draw& draw, Kind kind) {
  if (kind == Kind::sObjectsLoad || kind == Kind::themesLoad) return {};
  static const std::vector<std::string> ids{"001a", "00Baccounts", "00Bnone", "801d", "zzz"};
  static const std::vector<std::string> names{"Account", "Order", "Note", "Nothing"};
  const auto& from = kind == Kind::sObjectsForIds ? ids : names;
  std::vector<std::string> keys;
  for (auto count = draw.below(4); count > 0; --count) keys.push_back(from.at(draw.below(from.size())));
  return keys;
}

template <class Layout>
std::map<std::string, Layout> byType(const std::vector<Layout>& layouts) {
  std::map<std::string, Layout> types;
  for (const auto& layout : layouts) types.insert_or_assign(layout.objectType, layout);
  return types;
}

}  // namespace

SimulatedServices::SimulatedServices(World& world, SimulatedCache& cache)
    : world_(world),
      sObjects_(world, cache),
      themes_(world, cache),
      layouts_(world, cache),
      compactLayouts_(world, cache) {
  world_.trace("construct the services on their own");
}

void SimulatedServices::lookUp() {
  --left_;
  const auto kind = kinds.at(world_.draw.below(kinds.size()));
  auto& lookup = *started_.emplace_back(std::make_unique<Lookup>());
  lookup.cause = world_.newCause(kind, drawnKeys(world_.draw, kind));
  world_.trace("look up " + lookup.cause->title());
  world_.during(lookup.cause, [&] { start(kind, lookup); });
}

std::shared_ptr<int> SimulatedServices::watched(Lookup& lookup) const {
  auto alive = std::make_shared<int>();
  lookup.completion = alive;
  return alive;
}

template <class Value, class Check>
void SimulatedServices::watch(const Publisher<Value>& publisher, Lookup& lookup, Check check) {
  const auto values = std::make_shared<int>();
  const auto alive = watched(lookup);
  auto token = publisher.sink(
      [this, cause = lookup.cause, alive, values, check](const Value& value) {
        world_.trace("value for " + cause->title());
        world_.expect(++*values == 1 && cause->calls == 0, "one value");
        check(world_, value);
      },
      [this, cause = lookup.cause, alive, values](const Completion& completion) {
        world_.expect(completion.has_value() == cause->failed(), "it fails when a request has failed");
        if (completion) return world_.expect(*values == 0, "no value beside a failure");
        world_.expect(*values == 1, "a value before the end");
        noteEnd(cause);
      });
  lookup.token = std::move(token);
}

template <class Layout, class Check>
auto SimulatedServices::layoutCompletion(Lookup& lookup, Check check) {
  return [this, cause = lookup.cause, alive = watched(lookup), check](
             std::optional<std::vector<Layout>> layouts, std::optional<SObjectsDataServiceError> error) {
    const auto endpoint =
        cause->kind == Kind::searchLayoutList ? Endpoint::searchLayouts : Endpoint::compactLayouts;
    const auto* download = cause->requestTo(endpoint);
    world_.expect(error.has_value() == (download && download->outcome == Outcome::faulty),
                  "an error stands beside the layouts when the download has failed");
    if (layouts) {
      world_.during(cause, [&] { check(world_, byType(*layouts)); });
    } else {
      world_.breach("no list of layouts");
    }
    noteEnd(cause);
  };
}

template <class LoadError>
auto SimulatedServices::loadCompletion(Lookup& lookup) {
  return [this, cause = lookup.cause, alive = watched(lookup)](std::optional<LoadError> error) {
    world_.expect(error.has_value() == cause->failed(), "a load fails when its request has failed");
    noteEnd(cause);
  };
}

void SimulatedServices::start(Kind kind, Lookup& lookup) {
  const auto& keys = lookup.cause->keys;
  lookup.cause->forgiven = true;  // unless its service is still there
  const auto forgive = [&lookup](bool released) {
    lookup.cause->forgiven = released;
    return released;
  };
  // Held as a caller would: what is called back may release the service.
  if (kind == Kind::sObjectsLoad || kind == Kind::sObjectsForIds || kind == Kind::sObjectsForNames) {
    const auto service = sObjects_.service;
    if (forgive(!service)) return;
    if (kind == Kind::sObjectsLoad)
      return service->loadSObjects(loadCompletion<SObjectsDataServiceError>(lookup));
    if (kind == Kind::sObjectsForIds)
      return watch(service->sObjectsForIds(keys), lookup, checkSObjectsForIds);
    return watch(service->sObjectsForNames(keys), lookup, checkSObjectsForNames);
  }
  if (kind == Kind::themesLoad || kind == Kind::themes) {
    const auto service = themes_.service;
    if (forgive(!service)) return;
    if (kind == Kind::themesLoad) return service->loadThemes(loadCompletion<ThemeDataServiceError>(lookup));
    return watch(service->themes(keys), lookup, checkThemes);
  }
  if (kind == Kind::searchLayoutList) {
    const auto service = layouts_.service;
    if (forgive(!service)) return;
    return service->layoutForApiName(keys, layoutCompletion<ObjectLayoutInfo>(lookup, checkSearchLayouts));
  }
  const auto service = compactLayouts_.service;
  if (forgive(!service)) return;
  service->compactLayoutForApiName(keys,
                                   layoutCompletion<ObjectCompactLayoutInfo>(lookup, checkCompactLayouts));
}

void SimulatedServices::noteEnd(const CausePtr& cause) {
  world_.trace("end of " + cause->title());
  ++cause->calls;
  world_.expect(cause->calls == 1, "answered twice: " + cause->title());
  world_.expect(!cause->superseded, "an answer to a lookup that another one has overtaken");
  if (cause == pendingNameFields_) pendingNameFields_.reset();
  if (mayLookUp() && world_.draw.oneIn(5)) lookUp();
  if (world_.draw.oneIn(world_.hazards.release)) release();
}

void SimulatedServices::forgiveAll(const std::function<bool(const Cause& cause)>& concerned) {
  for (auto& lookup : started_) {
    if (concerned(*lookup->cause)) lookup->cause->forgiven = true;
  }
}

void SimulatedServices::release() {
  switch (world_.draw.below(4)) {
    case 0:
      world_.trace("release the service of object types");
      sObjects_.service.reset();
      return forgiveAll([](const Cause& cause) {
        return cause.kind == Kind::sObjectsLoad || cause.kind == Kind::sObjectsForIds ||
               cause.kind == Kind::sObjectsForNames;
      });
    case 1:
      world_.trace("release the service of themes");
      themes_.service.reset();
      return forgiveAll(
          [](const Cause& cause) { return cause.kind == Kind::themesLoad || cause.kind == Kind::themes; });
    case 2:
      world_.trace("release the service of search layouts");
      return layouts_.service.reset();  // its lookups are answered all the same
    default:
      world_.trace("release the service of compact layouts");
      compactLayouts_.service.reset();
      return forgiveAll([](const Cause& cause) { return cause.kind == Kind::compactLayoutList; });
  }
}

void SimulatedServices::releaseAll() {
  sObjects_.service.reset();
  themes_.service.reset();
  layouts_.service.reset();
  compactLayouts_.service.reset();
  for (auto& lookup : started_) lookup->cause->forgiven = true;
}

void SimulatedServices::cancel() {
  if (started_.empty()) return;
  auto& lookup = *started_.at(world_.draw.below(started_.size()));
  const auto kind = lookup.cause->kind;
  if (kind != Kind::sObjectsForIds && kind != Kind::sObjectsForNames && kind != Kind::themes) return;
  world_.trace("cancel " + lookup.cause->title());
  lookup.token.cancel();
  lookup.cause->forgiven = true;
  world_.expect(lookup.completion.expired() || lookup.cause->busy(),
                "a cancelled subscription keeps its handlers: " + lookup.cause->title());
}

void SimulatedServices::noteNameFieldsRequest(const CausePtr& cause) {
  if (cause->kind != Kind::compactLayoutList) return;
  if (pendingNameFields_ && pendingNameFields_->calls == 0) pendingNameFields_->superseded = true;
  pendingNameFields_ = cause;
}

void SimulatedServices::checkSettled() {
  for (auto& lookup : started_) {
    if (lookup->over || lookup->cause->busy()) continue;
    const auto& cause = *lookup->cause;
    lookup->over = true;
    const bool due = mustHaveAnswered(cause).value_or(false);
    if (cause.forgiven) {
      world_.expect(cause.calls <= (due ? 1 : 0), "an answer that could not be given: " + cause.title());
    } else {
      world_.expect(cause.calls == (due ? 1 : 0),
                    (due ? "never answered: " : "answered although something is missing: ") + cause.title());
    }
    world_.expect(lookup->completion.expired(), "the handlers of " + cause.title() + " are kept");
  }
  // A theme lookup holds its service until all of its names have been taken up.
  const bool themesHeld = std::any_of(started_.begin(), started_.end(), [](const auto& lookup) {
    return lookup->cause->kind == Kind::themes && lookup->cause->queued > 0;
  });
  world_.expect(sObjects_.host.isInUse() == (sObjects_.service != nullptr), "the life of the object types");
  world_.expect(themes_.host.isInUse() == (themes_.service != nullptr) || themesHeld,
                "the life of the themes");
  world_.expect(layouts_.host.isInUse() == (layouts_.service != nullptr), "the life of the search layouts");
  world_.expect(compactLayouts_.host.isInUse() == (compactLayouts_.service != nullptr),
                "the life of the compact layouts");
}

}  // namespace vellora::simulation
