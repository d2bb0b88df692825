#include "apps/vellora/explore/Explorer.h"

#include <algorithm>
#include <utility>

#include "apps/vellora/command/CommandCatalog.h"
#include "apps/vellora/command/Reason.h"
#include "apps/vellora/explore/ObservedCache.h"
#include "apps/vellora/lookups/ReadinessName.h"
#include "vellora/Catalog/Missing.h"
#include "vellora/Catalog/Readiness.h"
#include "vellora/DataServices/CacheInspection.h"
#include "vellora/Platform/Json/DecodingError.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::explore {
namespace {

using Why = Missing::Why;

/// What an explorer shows of failures, without secrets: their texts may quote the server.
using Wording = std::function<std::string(const Failure& failure)>;

ShownPresentation shown(const PresentationInfo& info, IconStore& icons) {
  return {info, icons.admit(info.svgIconUrl), icons.admit(info.smallIconUrl), icons.admit(info.largeIconUrl)};
}

/// Where what was found came from, of a question that was asked at `asked`: from the network when it has been
/// fetched since.
template <class T>
std::string sourceOf(const Answer<T>& answer, const Date& asked) {
  if (answer.found.empty()) return "nowhere";
  const bool isNew = std::any_of(answer.found.begin(), answer.found.end(), [&](const auto& found) {
    const auto fetched = answer.ageOf(found.first).fetched;
    return fetched && *fetched >= asked;
  });
  return isNew ? "network" : "cache";
}

/// Whether the server has answered about a layout that is missing: that it has none, or in a way that cannot
/// be used.
bool hasAnswered(const Missing& missing) {
  if (missing.why() == Why::unknown) return true;
  return missing.failure() != nullptr && missing.failure()->error().as<DecodingError>() != nullptr;
}

std::string textOf(const Missing& missing, const Wording& wording) {
  return missing.failure() != nullptr ? wording(*missing.failure()) : missing.text();
}

PresentationAnswer shownAnswer(const Answer<ObjectPresentationInfo>& answer, const Date& asked,
                               IconStore& icons, const Wording& wording) {
  PresentationAnswer shownAs{
      .source = sourceOf(answer, asked), .failure = {}, .presentations = {}, .missing = {}};
  if (answer.trouble) shownAs.failure = wording(*answer.trouble);
  for (const auto& [name, info] : answer.found)
    shownAs.presentations.emplace(name, shown(info.typePresentationInfo, icons));
  std::map<std::string, std::string> missing;
  for (const auto& [name, reason] : answer.missing) {
    if (reason.why() != Why::unknown) missing.emplace(name, textOf(reason, wording));
  }
  if (missing.empty()) return shownAs;
  if (!shownAs.failure) shownAs.failure = missing.begin()->second;
  shownAs.missing = std::move(missing);
  return shownAs;
}

template <class Layout>
LayoutAnswer<Layout> shownAnswer(const Answer<Layout>& answer, const Date& asked, const Wording& wording) {
  LayoutAnswer<Layout> shownAs{sourceOf(answer, asked), {}, {}};
  if (answer.trouble) shownAs.failure = wording(*answer.trouble);
  for (const auto& [name, layout] : answer.found) shownAs.layout = layout;
  for (const auto& [name, reason] : answer.missing) {
    if (hasAnswered(reason)) shownAs.source = "network";
    if (reason.why() != Why::unknown) shownAs.failure = textOf(reason, wording);
  }
  return shownAs;
}

Wording wordingWithout(const std::shared_ptr<const hostkit::KnownSecrets>& secrets) {
  return [secrets](const Failure& failure) { return secrets->cleaned(command::reasonOf(failure)); };
}

std::string textOf(const Readiness& readiness, const Wording& wording) {
  const std::string name(command::nameOf(readiness.readinessCase()));
  return readiness.failure() != nullptr ? name + ": " + wording(*readiness.failure()) : name;
}

/// Notes what the readiness comes to; each load ends with one, also with the same.
auto noting(const std::shared_ptr<Activity>& activity, const Wording& wording) {
  return [activity, wording, last = std::make_shared<std::string>()](const Readiness& readiness) {
    const auto text = textOf(readiness, wording);
    if (std::exchange(*last, text) != text) activity->notePrefetch(text);
  };
}

}  // namespace

Explorer::Explorer(const RequiredAPI& host, command::Arguments arguments, IconSource icons,
                   std::shared_ptr<const hostkit::KnownSecrets> secrets)
    : host_(host),
      arguments_(std::move(arguments)),
      secrets_(std::move(secrets)),
      activity_(std::make_shared<Activity>(secrets_)),
      icons_(std::make_shared<IconStore>(
          arguments_.server, std::move(icons.key),
          std::make_shared<ObservedNetwork>(std::move(icons.network), reachable_, activity_))) {
  startAgain();
}

void Explorer::startAgain() {
  const RequiredAPI observed{std::make_shared<ObservedNetwork>(host_.network, reachable_, activity_),
                             std::make_shared<ObservedCache>(host_.cache, activity_), host_.logger};
  auto catalog =
      std::make_shared<const Catalog>(command::platformOf(observed), command::catalogOptions(arguments_));
  auto readiness = catalog->readinessStream().sink(noting(activity_, wordingWithout(secrets_)));
  const std::lock_guard lock(mutex_);
  std::swap(catalog_, catalog);
  std::swap(readiness_, readiness);
}

ExplorerState Explorer::state(std::int64_t afterEntry) const {
  const auto readiness = catalog()->readiness();
  auto& cache = *host_.cache;
  ExplorerState state{.server = arguments_.server,
                      .theme = arguments_.theme,
                      .reachable = *reachable_,
                      .prefetch = std::string(command::nameOf(readiness.readinessCase())),
                      .themes = command::themesStatus(cache, arguments_.cacheTimeout),
                      .sObjects = command::sObjectsStatus(cache, arguments_.cacheTimeout),
                      .totals = activity_->totals(),
                      .entries = activity_->after(afterEntry)};
  if (readiness.failure() != nullptr) state.error = wordingWithout(secrets_)(*readiness.failure());
  const bool isReady = readiness.readinessCase() == Readiness::Case::ready;
  state.ready = isReady && state.themes.fresh && state.sObjects.fresh;
  return state;
}

std::vector<SObject> Explorer::types() const {
  return cachedSObjects(*host_.cache);
}

void Explorer::presentations(const std::vector<std::string>& names,
                             std::function<void(PresentationAnswer)> completion) const {
  ask<ObjectPresentationInfo>(
      &Catalog::types, names,
      [asked = now(), icons = icons_, wording = wordingWithout(secrets_), completion = std::move(completion)](
          const auto& answer) { completion(shownAnswer(answer, asked, *icons, wording)); });
}

void Explorer::searchLayout(const std::string& name,
                            std::function<void(SearchLayoutAnswer)> completion) const {
  askLayout<ObjectLayoutInfo>(&Catalog::searchColumns, name, std::move(completion));
}

void Explorer::compactLayout(const std::string& name,
                             std::function<void(CompactLayoutAnswer)> completion) const {
  askLayout<ObjectCompactLayoutInfo>(&Catalog::headlines, name, std::move(completion));
}

template <class T>
void Explorer::askLayout(Ask<T> question, const std::string& name,
                         std::function<void(LayoutAnswer<T>)> completion) const {
  ask<T>(question, {name},
         [asked = now(), wording = wordingWithout(secrets_), completion = std::move(completion)](
             const auto& answer) { completion(shownAnswer(answer, asked, wording)); });
}

template <class T>
void Explorer::ask(Ask<T> question, const std::vector<std::string>& keys,
                   std::function<void(const Answer<T>& answer)> onAnswer) const {
  const auto asked = catalog();
  // The callback keeps the catalogue: the answer comes also when another has taken its place.
  ((*asked).*question)(keys, command::questionOptions(arguments_))
      .then([asked, onAnswer = std::move(onAnswer)](const Answer<T>& answer) { onAnswer(answer); })
      .detach();
}

void Explorer::icon(const std::string& id, IconStore::Completion completion) const {
  icons_->fetch(id, std::move(completion));
}

std::shared_ptr<const Catalog> Explorer::catalog() const {
  const std::lock_guard lock(mutex_);
  return catalog_;
}

}  // namespace vellora::explore
