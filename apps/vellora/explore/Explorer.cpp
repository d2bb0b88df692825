#include "apps/vellora/explore/Explorer.h"

#include <utility>

#include "apps/vellora/explore/ObservedCache.h"
#include "apps/vellora/lookups/ByObjectType.h"
#include "apps/vellora/lookups/Presentation.h"
#include "apps/vellora/lookups/PrimerState.h"
#include "vellora/DataServices/CacheInspection.h"
#include "vellora/DataServices/CompactLayoutDataService.h"
#include "vellora/DataServices/LayoutDataService.h"
#include "vellora/DataServices/SObjectsDataServiceError.h"

namespace vellora::explore {
namespace {

using State = VelloraService::State;

ShownPresentation shown(const PresentationInfo& info, IconStore& icons) {
  return {info, icons.admit(info.svgIconUrl), icons.admit(info.smallIconUrl), icons.admit(info.largeIconUrl)};
}

/// Makes the completion of a layout lookup. It picks the layout of the type `name`, since servers may send
/// others too, and says where that came from. It holds the service, which answers only while it lives.
template <class Layout, class Service>
auto answering(std::string name, std::shared_ptr<Service> service, std::shared_ptr<Tally> tally,
               std::function<void(LayoutAnswer<Layout>)> completion) {
  return [name = std::move(name), service = std::move(service), tally = std::move(tally),
          completion = std::move(completion)](const std::optional<std::vector<Layout>>& layouts,
                                              const std::optional<SObjectsDataServiceError>& error) {
    LayoutAnswer<Layout> answer{tally->source(), tally->failure(), {}};
    if (error && !answer.failure) answer.failure = error->localizedDescription();
    if (layouts) {
      auto named = command::byObjectType(*layouts).extract(name);
      if (named) answer.layout = std::move(named.mapped());
    }
    completion(std::move(answer));
  };
}

}  // namespace

Explorer::Explorer(const RequiredAPI& host, command::Arguments arguments, IconSource icons,
                   std::shared_ptr<const hostkit::KnownSecrets> secrets)
    : host_(host),
      arguments_(std::move(arguments)),
      activity_(std::make_shared<Activity>(std::move(secrets))),
      icons_(std::make_shared<IconStore>(
          arguments_.server, std::move(icons.key),
          std::make_shared<ObservedNetwork>(std::move(icons.network), reachable_, activity_,
                                            std::make_shared<Tally>()))) {
  startAgain();
}

void Explorer::startAgain() {
  auto service = command::openService(arguments_, observed(serviceTally_));
  auto states = service->primerStateStream().sink(
      [activity = activity_](const State& state) { activity->notePrefetch(state.description()); });
  const std::lock_guard lock(mutex_);
  std::swap(service_, service);
  std::swap(states_, states);
}

ExplorerState Explorer::state(std::int64_t afterEntry) const {
  const auto primer = service()->primerState();
  auto& cache = *host_.cache;
  ExplorerState state{.server = arguments_.server,
                      .theme = arguments_.theme,
                      .reachable = *reachable_,
                      .prefetch = std::string(command::nameOf(primer.stateCase())),
                      .themes = command::themesStatus(cache, arguments_.cacheTimeout),
                      .sObjects = command::sObjectsStatus(cache, arguments_.cacheTimeout),
                      .totals = activity_->totals(),
                      .entries = activity_->after(afterEntry)};
  if (primer.error() != nullptr) state.error = primer.error()->localizedDescription();
  // What the façade's `primedAndCached` would say. That reads the observed cache, and the page must not show
  // its own reads among the app's.
  state.ready = primer == State::loaded() && state.themes.fresh && state.sObjects.fresh;
  return state;
}

std::vector<SObject> Explorer::types() const {
  return cachedSObjects(*host_.cache);
}

void Explorer::presentations(const std::vector<std::string>& names,
                             std::function<void(PresentationAnswer)> completion) const {
  command::onceLoaded(service(), [names, tally = serviceTally_, icons = icons_,
                                  completion = std::move(completion)](VelloraService& loaded) {
    loaded.objectPresentationInfoForApiNames(
        names, [tally, icons, completion, answersBefore = tally->answers()](
                   const std::map<std::string, ObjectPresentationInfo>& infos) {
          PresentationAnswer answer;
          answer.source = tally->answers() > answersBefore ? "network" : infos.empty() ? "nowhere" : "cache";
          if (infos.empty()) answer.failure = tally->failure();
          for (const auto& [name, info] : infos)
            answer.presentations.emplace(name, shown(info.typePresentationInfo, *icons));
          completion(std::move(answer));
        });
  });
}

void Explorer::searchLayout(const std::string& name,
                            std::function<void(SearchLayoutAnswer)> completion) const {
  const auto tally = std::make_shared<Tally>();
  const auto layouts = std::make_shared<LayoutDataService>(observed(tally), arguments_.cacheTimeout);
  layouts->layoutForApiName({name}, answering(name, layouts, tally, std::move(completion)));
}

// Each lookup gets a service of its own: of two lookups of one service that overlap, one may stay unanswered.
void Explorer::compactLayout(const std::string& name,
                             std::function<void(CompactLayoutAnswer)> completion) const {
  const auto tally = std::make_shared<Tally>();
  const auto layouts = std::make_shared<CompactLayoutDataService>(observed(tally), arguments_.cacheTimeout);
  layouts->compactLayoutForApiName({name}, answering(name, layouts, tally, std::move(completion)));
}

void Explorer::icon(const std::string& id, IconStore::Completion completion) const {
  icons_->fetch(id, std::move(completion));
}

RequiredAPI Explorer::observed(const std::shared_ptr<Tally>& tally) const {
  return {std::make_shared<ObservedNetwork>(host_.network, reachable_, activity_, tally),
          std::make_shared<ObservedCache>(host_.cache, activity_, tally), host_.logger};
}

std::shared_ptr<VelloraService> Explorer::service() const {
  const std::lock_guard lock(mutex_);
  return service_;
}

}  // namespace vellora::explore
