#include "vellora/Services/VelloraServiceImplementation.h"

#include <new>
#include <utility>

#include "vellora/Platform/Json/Description.h"
#include "vellora/Platform/Values/OutOfMemory.h"
#include "vellora/Services/PresentationLookup.h"

namespace vellora {

using CorvaneSDK::LogLevel;

namespace {

/// The state `failed` with that error; with `OutOfMemory` when there is no memory for a copy of it.
template <class E>
VelloraService::State failedState(const E& error) {
  try {
    return VelloraService::State::failed(error);
  } catch (const std::bad_alloc&) {
    return VelloraService::State::failed(outOfMemory());
  }
}

}  // namespace

VelloraService::Implementation::Implementation(const RequiredAPI& api, double cacheTimeout, std::string theme,
                                               std::shared_ptr<DispatchQueue> queue)
    : logger_(api.logger),
      queue_(std::move(queue)),
      services_(api, cacheTimeout),
      theme_(std::move(theme)),
      primerState_(State::isLoading(), objectWillChange_) {}

/// What the copies of a handle share. It cancels the lookups, whoever else still holds the façade.
class VelloraService::Implementation::Ending {
 public:
  explicit Ending(std::shared_ptr<Implementation> facade) : facade_(std::move(facade)) {}
  ~Ending() { facade_->subscriptions_.close(); }
  Ending(const Ending&) = delete;
  Ending& operator=(const Ending&) = delete;

 private:
  const std::shared_ptr<Implementation> facade_;
};

std::shared_ptr<VelloraService::Implementation> VelloraService::Implementation::make(
    const RequiredAPI& api, double cacheTimeout, std::string theme, std::shared_ptr<DispatchQueue> queue) {
  const auto facade = std::make_shared<Implementation>(api, cacheTimeout, std::move(theme), std::move(queue));
  return {std::make_shared<Ending>(facade), facade.get()};
}

void VelloraService::Implementation::log(std::string_view text, LineParts parts) const {
  logLine(*logger_, LogLevel::info, text, parts);
}

// Prefetch and readiness

void VelloraService::Implementation::prefetch() {
  primerState_.set(State::isLoading());
  try {
    log("prefetch(): primerState: " + primerState_.value().description());
    const DispatchGroup group;
    loadThemes(group);
    loadSObjects(group);
    group.notify(DispatchQueue::global(DispatchQoS::userInitiated), [weak = weak_from_this()] {
      if (const auto self = weak.lock()) self->finishPrefetch();
    });
  } catch (const std::bad_alloc&) {
    // Left at `isLoading`, every later lookup would wait for a load that nobody runs.
    primerState_.set(State::failed(outOfMemory()));
    throw;
  }
}

void VelloraService::Implementation::loadThemes(const DispatchGroup& group) {
  startLoad(group, "themes", [](Implementation& self, const auto& ended) {
    self.services_.themes->loadThemes([ended](const auto& error) { (*ended)(error); });
  });
}

void VelloraService::Implementation::loadSObjects(const DispatchGroup& group) {
  startLoad(group, "sobjects", [](Implementation& self, const auto& ended) {
    self.services_.sObjects->loadSObjects([ended](const auto& error) { (*ended)(error); });
  });
}

/// Ends one load of a prefetch: when its service completes, or when there is no memory to ask the service. It
/// does not complete then.
class VelloraService::Implementation::LoadEnd {
 public:
  LoadEnd(std::weak_ptr<Implementation> facade, DispatchGroup group, std::string_view loading)
      : facade_(std::move(facade)), group_(std::move(group)), loading_(loading) {}

  template <class E>
  void operator()(const std::optional<E>& error) const {
    if (const auto facade = facade_.lock(); facade && error) facade->noteFailure(*error, loading_);
    group_.leave();
  }

 private:
  const std::weak_ptr<Implementation> facade_;
  const DispatchGroup group_;
  const std::string_view loading_;
};

template <class Load>
void VelloraService::Implementation::startLoad(const DispatchGroup& group, std::string_view loading,
                                               Load load) {
  const auto ended = std::make_shared<const LoadEnd>(weak_from_this(), group, loading);
  group.enter();
  group.async(queue_, [weak = weak_from_this(), ended, load] {
    const auto self = weak.lock();
    if (!self) return;
    try {
      load(*self, ended);
    } catch (const std::bad_alloc&) {
      (*ended)(std::optional(outOfMemory()));
    }
  });
}

template <class E>
void VelloraService::Implementation::noteFailure(const E& error, std::string_view loading) {
  primerState_.set(failedState(error));
  try {
    log("prefetch(): error while loading " + std::string(loading) + ": " + error.localizedDescription());
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the state counts, not its line
  }
}

void VelloraService::Implementation::finishPrefetch() {
  if (primerState_.value() != State::isLoading()) return;  // a load has failed and set the state
  primerState_.set(State::loaded());
  log("prefetch(): primerState: " + State::loaded().description());
}

void VelloraService::Implementation::waitForPrefetch(std::function<void()> completion) {
  const std::string text = "waitForPrefetch(completion:): primerState: ";
  const State state = primerState_.value();
  log(text + state.description());
  if (state != State::isLoading()) prefetch();
  primerState_.stream()
      .map([logger = logger_, text](State current) {
        logger->log(text + current.description(), LogLevel::info);
        return current;
      })
      .first([](const State& current) { return current != State::isLoading(); })
      .sink(
          subscriptions_, [completion = std::move(completion)](const State&) { completion(); },
          [](const Completion&) {});
}

bool VelloraService::Implementation::primedAndCached() const {
  return primerState_.value() == State::loaded() && services_.themes->cacheState() == CacheState::valid &&
         services_.sObjects->cacheState() == CacheState::valid;
}

// Presentation lookups

void VelloraService::Implementation::objectPresentationInfoForIds(const std::vector<std::string>& ids,
                                                                  PresentationCompletion completion) {
  if (primedAndCached()) return objectPresentationInfoForIdsOnceLoaded(ids, std::move(completion));
  waitForPrefetch([weak = weak_from_this(), ids, completion = std::move(completion)] {
    if (const auto self = weak.lock()) self->objectPresentationInfoForIdsOnceLoaded(ids, completion);
  });
}

void VelloraService::Implementation::objectPresentationInfoForIdsOnceLoaded(
    const std::vector<std::string>& ids, PresentationCompletion completion) {
  const auto lookup = std::make_shared<PresentationLookup>(
      weak_from_this(), "objectPresentationInfoForIdsOnceLoaded(_:completion:)");
  lookup->logStart("ids", ids.size());
  auto keepTypes = [lookup](auto sObjects) { return lookup->keepTypes(std::move(sObjects)); };
  auto lookUpThemes = [lookup](auto names) { return lookup->themesOf(std::move(names)); };
  auto pairThemWithTypes = [lookup](auto items) { return lookup->infosOfRecords(std::move(items)); };
  auto answer = [completion = std::move(completion)](Infos infos) { completion(std::move(infos)); };
  auto logEnd = [lookup](const Completion&) { lookup->logEnd(); };
  services_.sObjects->sObjectsForIds(ids)
      .map(std::move(keepTypes))
      .flatMap(std::move(lookUpThemes))
      .map(std::move(pairThemWithTypes))
      .sink(subscriptions_, std::move(answer), std::move(logEnd));
}

void VelloraService::Implementation::objectPresentationInfoForApiNames(
    const std::vector<std::string>& apiNames, PresentationCompletion completion) {
  objectPresentationInfoForApiNamesFetchIfNeeded(apiNames, std::move(completion));
}

void VelloraService::Implementation::objectPresentationInfoForApiNamesFetchIfNeeded(
    const std::vector<std::string>& apiNames, PresentationCompletion completion) {
  const auto lookup = std::make_shared<PresentationLookup>(
      weak_from_this(), "objectPresentationInfoForApiNamesFetchIfNeeded(_:completion:)");
  lookup->logStart("apiNames", apiNames.size());
  auto keepInfos = [lookup](auto latest) { lookup->keepInfos(latest.first, std::move(latest.second)); };
  auto answer = [lookup, completion = std::move(completion)](const Completion&) {
    lookup->logEnd();
    completion(lookup->takeInfos());
  };
  services_.sObjects->sObjectsForNames(apiNames)
      .combineLatest(services_.themes->themes(apiNames))
      .sink(subscriptions_, std::move(keepInfos), std::move(answer));
}

ObjectPresentationInfo VelloraService::Implementation::createObjectPresentationInfo(
    const SObject& sObject, const std::optional<SObject>& sObjectInstance, const Themes& themes,
    std::string& line) const {
  const std::optional<ThemeItem> none;
  const auto themeOf = [&](const SObject& type) -> const std::optional<ThemeItem>& {
    const auto found = themes.find(type.name);
    return found == themes.end() ? none : found->second;
  };
  const auto& typeTheme = themeOf(sObject);
  const auto& instanceTheme = sObjectInstance ? themeOf(*sObjectInstance) : none;
  line = "createObjectPresentationInfo(for:sObjectInstance:themes:) typeTheme: ";
  describeTo(line, typeTheme);
  line.append(", instanceTheme: ");
  describeTo(line, instanceTheme);
  log(line);
  return ObjectPresentationInfo(typeTheme, sObject, theme_, instanceTheme, sObjectInstance);
}

}  // namespace vellora
