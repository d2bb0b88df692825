#include "tests/simulation/SimulatedFacade.h"

#include <algorithm>
#include <utility>

#include "hostkit/StandardPlatformAPI.h"
#include "tests/simulation/Expectations.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"

namespace vellora::simulation {

namespace {

using Endpoint = SimulatedServer::Endpoint;
using Kind = Cause::Kind;
using Outcome = SentRequest::Outcome;
using State = VelloraService::State;

const std::string prefetchBegins = "prefetch(): primerState: isLoading";
const std::string idsBegin = "objectPresentationInfoForIdsOnceLoaded(_:completion:) ids.count: ";
const std::string purges = "enforceCacheCount(), cacheEntryType: ";

bool isPending(const SentRequest* request) {
  return request && request->outcome == Outcome::pending;
}

}  // namespace

SimulatedFacade::SimulatedFacade(World& world, SimulatedCache& cache)
    : world_(world),
      cache_(cache),
      host_(world, cache, [this](std::string_view message) { noteLog(message); }) {
  for (std::size_t count = 0; count < lookups; ++count) unused_.push_back(count);
  std::rotate(unused_.begin(), unused_.begin() + static_cast<std::ptrdiff_t>(world_.draw.below(lookups)),
              unused_.end());
}

void SimulatedFacade::construct() {
  world_.trace("construct a façade");
  const auto queue =
      std::make_shared<SerialDispatchQueue>(std::string(VelloraService::Constants::queueLabel));
  const auto& api = host_.api();
  world_.during(world_.newCause(Kind::nobody), [&] {
    service_ = std::make_unique<VelloraService>(
        std::make_shared<hostkit::StandardPlatformAPI>(api.network, api.cache, api.logger), World::timeout,
        "light", queue);
  });
  announced_ = service_->objectWillChange().sink([this](WillChange) { ++announcements_; });
  states_ = service_->primerStateStream().sink([this](const State& state) { noteState(state); });
}

void SimulatedFacade::release() {
  if (!service_) return;
  world_.trace("release a façade");
  const auto doomed = std::move(service_);
}

// The lines of the log tell for which cause the steps that follow are taken.
void SimulatedFacade::noteLog(std::string_view message) {
  world_.expect(!ended_, "a line of a façade that is gone");
  if (message.starts_with(purges)) ++purges_;
  if (message == prefetchBegins) {
    prefetches_.push_back(world_.newCause(Kind::prefetch));
    world_.switchCause(prefetches_.back());
  } else if (message.starts_with(idsBegin)) {
    const auto cause = waitingIdsOfCount(message.substr(idsBegin.size()));
    if (!cause) return world_.breach("an id lookup begins twice, or was never asked for");
    cause->begun = true;
    world_.switchCause(cause);
  }
}

CausePtr SimulatedFacade::waitingIdsOfCount(std::string_view count) const {
  for (const auto& lookup : started_) {
    const auto& cause = lookup.cause;
    if (cause->kind == Kind::ids && !cause->begun && std::to_string(cause->keys.size()) == count)
      return cause;
  }
  return nullptr;
}

void SimulatedFacade::noteState(const State& state) {
  world_.trace("state " + state.description());
  using Case = State::Case;
  const auto next = state.stateCase();
  if (!state_) {
    world_.expect(next == Case::isLoading, "the first state is isLoading");
  } else {
    const auto before = state_->stateCase();
    ++stateChanges_;
    world_.expect(next != Case::isLoading || before != Case::isLoading, "a prefetch begins within another");
    world_.expect(next != Case::loaded || before == Case::isLoading, "loaded follows isLoading alone");
    world_.expect(next != Case::failed || before != Case::loaded || failures_ > 0,
                  "a failure after all was loaded");
    world_.expect(announcements_ == stateChanges_, "each change is announced once");
  }
  state_ = state;
  if (next == Case::failed) ++failures_;
  if (next == Case::loaded) ++loads_;
  if (mayLookUp() && world_.draw.oneIn(4)) lookUp();
  if (world_.draw.oneIn(world_.hazards.release)) release();
}

std::vector<std::string> SimulatedFacade::drawnKeys(bool ids, std::size_t count) {
  static const std::vector<std::string> someIds{"001a", "003b",      "005c",    "801d", "00Baccounts",
                                                "00B",  "00Borders", "00Bnone", "zzz",  "0"};
  static const std::vector<std::string> someNames{"Account", "Contact",  "Order",  "Note",
                                                  "User",    "ListView", "Nothing"};
  const auto& from = ids ? someIds : someNames;
  std::vector<std::string> keys;
  while (keys.size() < count) keys.push_back(from.at(world_.draw.below(from.size())));
  return keys;
}

template <class Answer, class Check>
auto SimulatedFacade::completion(const CausePtr& cause, Check check) {
  const auto alive = std::make_shared<int>();
  for (auto& lookup : started_) {
    if (lookup.cause == cause) lookup.completion = alive;
  }
  return [this, cause, alive, check](Answer answer) {
    world_.trace("answer to " + cause->title());
    world_.during(cause, [&] { check(world_, answer); });
    noteAnswer(cause);
  };
}

void SimulatedFacade::lookUp() {
  const std::size_t count = unused_.back();
  unused_.pop_back();
  constexpr std::array<Kind, 6> kinds{Kind::ids,   Kind::ids,           Kind::ids,
                                      Kind::names, Kind::searchLayouts, Kind::compactLayouts};
  const auto kind = kinds.at(world_.draw.below(kinds.size()));
  const auto cause = world_.newCause(kind, drawnKeys(kind == Kind::ids, count));
  world_.trace("look up " + cause->title());
  started_.push_back({cause, {}, false});
  world_.during(cause, [&] {
    switch (kind) {
      case Kind::ids:
        return startIds(cause);
      case Kind::names:
        return service_->objectPresentationInfoForApiNames(
            cause->keys, completion<std::map<std::string, ObjectPresentationInfo>>(cause, checkNames));
      case Kind::searchLayouts:
        return service_->objectLayoutInfoForApiNames(
            cause->keys, completion<std::optional<std::map<std::string, ObjectLayoutInfo>>>(
                             cause, [](World& world, const auto& layouts) {
                               if (!layouts) return world.breach("no dictionary");
                               checkSearchLayouts(world, *layouts);
                             }));
      default:
        return service_->objectCompactLayoutInfoForApiNames(
            cause->keys, completion<std::optional<std::map<std::string, ObjectCompactLayoutInfo>>>(
                             cause, [](World& world, const auto& layouts) {
                               if (!layouts) return world.breach("no dictionary");
                               checkCompactLayouts(world, *layouts);
                             }));
    }
  });
}

/// An id lookup goes straight on when all is loaded and fresh; else it waits, and begins a prefetch when none
/// is under way.
void SimulatedFacade::startIds(const CausePtr& cause) {
  const auto before = service_->primerState().stateCase();
  const auto prefetchesBefore = prefetches_.size();
  static_cast<void>(cache_.takeReadsSaidFresh());
  service_->objectPresentationInfoForIds(
      cause->keys, completion<std::map<std::string, ObjectPresentationInfo>>(cause, checkIds));
  // What a change of the state started within the call may have taken the reads, but only where this one
  // waits.
  const bool primed = cache_.takeReadsSaidFresh() && before == State::Case::loaded;
  const std::size_t begun = prefetches_.size() - prefetchesBefore;
  world_.expect(cause->begun == primed, "an id lookup goes on when all is loaded and fresh, else it waits");
  world_.expect(begun == (primed || before == State::Case::isLoading ? 0U : 1U),
                "an id lookup that waits begins a prefetch unless one is under way");
}

void SimulatedFacade::noteAnswer(const CausePtr& cause) {
  ++cause->calls;
  world_.expect(cause->calls == 1, "a lookup is answered twice: " + cause->title());
  world_.expect(!ended_, "an answer of a façade that is gone: " + cause->title());
  world_.expect(!cause->superseded, "an answer to a lookup that another one has overtaken");
  if (cause == pendingNameFields_) pendingNameFields_.reset();
  if (mayLookUp() && world_.draw.oneIn(5)) lookUp();
  if (world_.draw.oneIn(world_.hazards.release)) release();
}

/// Of two requests for name fields only the later one is waited for.
void SimulatedFacade::noteNameFieldsRequest(const CausePtr& cause) {
  const bool mine = std::any_of(started_.begin(), started_.end(),
                                [&](const Lookup& lookup) { return lookup.cause == cause; });
  if (!mine) return;
  if (pendingNameFields_ && pendingNameFields_->calls == 0) pendingNameFields_->superseded = true;
  pendingNameFields_ = cause;
}

bool SimulatedFacade::isHeldBy(const Lookup& lookup) const {
  const auto& cause = *lookup.cause;
  if (cause.calls > 0 || cause.superseded) return false;
  if (cause.kind == Kind::searchLayouts) return isPending(cause.requestTo(Endpoint::searchLayouts));
  if (cause.kind != Kind::compactLayouts) return false;
  return isPending(cause.requestTo(Endpoint::compactLayouts)) ||
         isPending(cause.requestTo(Endpoint::nameFields));
}

/// A layout lookup keeps its façade until it is answered.
bool SimulatedFacade::mustBeAlive() const {
  return service_ || std::any_of(started_.begin(), started_.end(),
                                 [this](const Lookup& lookup) { return isHeldBy(lookup); });
}

void SimulatedFacade::checkSettled() {
  if (!ended_) {
    const bool alive = host_.isInUse();
    // A network that is to answer once more has not let go of the completion.
    const bool mayBeAlive = std::any_of(started_.begin(), started_.end(),
                                        [](const Lookup& lookup) { return lookup.cause->repeats > 0; });
    world_.expect(alive || !mustBeAlive(), "a façade is gone that a layout lookup holds");
    world_.expect(!alive || mayBeAlive || mustBeAlive(), "something keeps a released façade alive");
    ended_ = !alive;
    if (ended_) world_.expect(purges_ == 4, "a façade that goes trims four kinds of rows");
  }
  for (auto& lookup : started_) checkLookup(lookup);
}

void SimulatedFacade::checkLookup(Lookup& lookup) {
  if (lookup.over || lookup.cause->busy()) return;
  const auto& cause = *lookup.cause;
  if (!ended_) {
    const auto due = mustHaveAnswered(cause);
    if (!due) return;
    world_.expect(*due == (cause.calls == 1),
                  (*due ? "never answered: " : "answered although something is missing: ") + cause.title());
  }
  lookup.over = true;
  world_.expect(lookup.completion.expired(), "the completion of " + cause.title() + " is kept");
}

void SimulatedFacade::checkEnded() {
  if (ended_) return;
  const bool dropped = std::any_of(prefetches_.begin(), prefetches_.end(),
                                   [](const auto& prefetch) { return prefetch->has(Outcome::dropped); });
  if (!dropped) {
    int faulty = 0;
    for (const auto& prefetch : prefetches_) {
      for (const auto& request : prefetch->requests) faulty += request->outcome == Outcome::faulty ? 1 : 0;
    }
    world_.expect(state_->stateCase() != State::Case::isLoading, "a prefetch never ends");
    world_.expect(failures_ == faulty, "each failed load is one failure of the state");
    world_.expect(faulty > 0 || loads_ == static_cast<int>(prefetches_.size()),
                  "each prefetch ends as loaded");
    for (const auto& lookup : started_) {
      world_.expect(lookup.over, "still under way: " + lookup.cause->title());
    }
  }
}

}  // namespace vellora::simulation
