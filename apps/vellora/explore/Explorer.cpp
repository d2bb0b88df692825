#include "apps/vellora/explore/Explorer.h"

#include <algorithm>
#include <utility>

#include "apps/vellora/command/CommandCatalog.h"
#include "apps/vellora/explore/ObservedCache.h"
#include "apps/vellora/explore/ObservedNetwork.h"
#include "apps/vellora/explore/ShownFailure.h"
#include "apps/vellora/lookups/ReadinessName.h"
#include "vellora/Catalog/Missing.h"
#include "vellora/Catalog/Readiness.h"
#include "vellora/Catalog/RefreshOptions.h"
#include "vellora/Catalog/TypeChange.h"
#include "vellora/DataServices/CacheInspection.h"
#include "vellora/Platform/Json/DecodingError.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::explore {
namespace {

using Why = Missing::Why;

/// What an explorer shows of failures, without secrets: their texts may quote the server.
using Wording = std::function<ShownFailure(const Failure& failure)>;

/// Has the answer say why, in a sentence and in its parts.
template <class Shown>
void setFailure(Shown& answer, const Failure& failure, const Wording& wording) {
  answer.trouble = wording(failure);
  answer.failure = answer.trouble->text;
}

ShownPresentation shown(const PresentationInfo& info, IconStore& icons) {
  return {info, icons.admit(info.svgIconUrl), icons.admit(info.smallIconUrl), icons.admit(info.largeIconUrl)};
}

/// Where what was found came from, of a question that was asked at `asked`: from the network when it has been
/// fetched since.
template <class T>
std::string sourceOf(const Answer<T>& answer, const Date& asked) {
  if (answer.found.empty()) return "nowhere";
  const auto isNew = [&](const Age& age) { return age.fetched && *age.fetched >= asked; };
  // The common age as well: what a list view lists has no date of its own.
  const bool isAnyNew =
      isNew(answer.age) || std::any_of(answer.found.begin(), answer.found.end(),
                                       [&](const auto& found) { return isNew(answer.ageOf(found.first)); });
  return isAnyNew ? "network" : "cache";
}

/// Whether the server has answered about a layout that is missing: that it has none, or in a way that cannot
/// be used.
bool hasAnswered(const Missing& missing) {
  if (missing.why() == Why::unknown) return true;
  return missing.failure() != nullptr && missing.failure()->error().as<DecodingError>() != nullptr;
}

template <class Shown>
void setFailure(Shown& answer, const Missing& missing, const Wording& wording) {
  if (missing.failure() != nullptr) return setFailure(answer, *missing.failure(), wording);
  answer.failure = missing.text();
}

std::string textOf(const Missing& missing, const Wording& wording) {
  return missing.failure() != nullptr ? wording(*missing.failure()).text : missing.text();
}

PresentationAnswer shownAnswer(const Answer<ObjectPresentationInfo>& answer, const Date& asked,
                               IconStore& icons, const Wording& wording) {
  PresentationAnswer shownAs{.source = sourceOf(answer, asked)};
  if (answer.trouble) setFailure(shownAs, *answer.trouble, wording);
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
  LayoutAnswer<Layout> shownAs{.source = sourceOf(answer, asked)};
  if (answer.trouble) setFailure(shownAs, *answer.trouble, wording);
  for (const auto& [name, layout] : answer.found) shownAs.layout = layout;
  for (const auto& [name, reason] : answer.missing) {
    if (hasAnswered(reason)) shownAs.source = "network";
    if (reason.why() != Why::unknown) setFailure(shownAs, reason, wording);
  }
  return shownAs;
}

bool isEmpty(const ObjectLayoutInfo& layout) {
  return layout.searchColumns.empty();
}

bool isEmpty(const ObjectCompactLayoutInfo& layout) {
  return layout.layoutFields.empty();
}

/// Adds the names that the answer shows to lack a layout to `lacking`, those of which it doesn't tell to
/// `unanswered`.
template <class Layout>
void noteLacking(const Answer<Layout>& answer, const Wording& wording, std::vector<std::string>& lacking,
                 std::map<std::string, std::string>& unanswered) {
  for (const auto& [name, layout] : answer.found)
    if (isEmpty(layout)) lacking.push_back(name);
  for (const auto& [name, reason] : answer.missing) {
    if (reason.why() == Why::unknown)
      lacking.push_back(name);
    else
      unanswered.emplace(name, textOf(reason, wording));
  }
  std::sort(lacking.begin(), lacking.end());
}

LackingLayouts lackingSearchColumns(const Answer<ObjectLayoutInfo>& answer, const Wording& wording) {
  LackingLayouts lacking;
  noteLacking(answer, wording, lacking.searchColumns, lacking.unanswered);
  return lacking;
}

Wording wordingWithout(const std::shared_ptr<const hostkit::KnownSecrets>& secrets) {
  return [secrets](const Failure& failure) { return shownFailure(failure, *secrets); };
}

std::string textOf(const Readiness& readiness, const Wording& wording) {
  const std::string name(command::nameOf(readiness.readinessCase()));
  return readiness.failure() != nullptr ? name + ": " + wording(*readiness.failure()).text : name;
}

/// Notes what the readiness comes to; each load ends with one, also with the same. The first load is that of
/// a start.
auto noting(const std::shared_ptr<Activity>& activity, const std::shared_ptr<TypeHistory>& history,
            const Wording& wording) {
  struct Last {
    std::string text;
    bool hasStarted = false;
  };
  return [activity, history, wording, last = std::make_shared<Last>()](const Readiness& readiness) {
    const bool isLoading = readiness.readinessCase() == Readiness::Case::loading;
    if (!isLoading && !std::exchange(last->hasStarted, true)) history->noteStart();
    const auto text = textOf(readiness, wording);
    if (std::exchange(last->text, text) != text) activity->notePrefetch(text);
  };
}

RefreshAnswer shownAnswer(const Answer<TypeChange>& answer, const Wording& wording) {
  RefreshAnswer shownAs;
  if (answer.trouble)
    setFailure(shownAs, *answer.trouble, wording);
  else if (answer.end != End::answered)
    shownAs.failure = "the server did not answer in time";
  return shownAs;
}

}  // namespace

Explorer::Explorer(const RequiredAPI& host, command::Arguments arguments, IconSource icons,
                   std::shared_ptr<const hostkit::KnownSecrets> secrets)
    : host_(host),
      arguments_(std::move(arguments)),
      secrets_(std::move(secrets)),
      activity_(std::make_shared<Activity>(secrets_)),
      history_(std::make_shared<TypeHistory>(host_.cache)),
      // Icons are not noted: there are many, and no app sees them through the library.
      icons_(std::make_shared<IconStore>(
          arguments_.server, std::move(icons.key),
          std::make_shared<SwitchedNetwork>(std::move(icons.network), reachable_))) {
  startAgain();
}

void Explorer::startAgain() {
  const auto network = std::make_shared<SwitchedNetwork>(host_.network, reachable_);
  const RequiredAPI observed{std::make_shared<ObservedNetwork>(network, activity_),
                             std::make_shared<ObservedCache>(host_.cache, activity_), host_.logger};
  auto catalog =
      std::make_shared<const Catalog>(command::platformOf(observed), command::catalogOptions(arguments_));
  auto readiness = catalog->readinessStream().sink(noting(activity_, history_, wordingWithout(secrets_)));
  const std::lock_guard lock(mutex_);
  std::swap(catalog_, catalog);
  std::swap(readiness_, readiness);
}

void Explorer::refresh(std::function<void(RefreshAnswer)> completion) const {
  const auto asked = catalog();
  const auto onAnswer = [asked, history = history_, since = history_->fetchedNow(),
                         wording = wordingWithout(secrets_),
                         completion = std::move(completion)](const Answer<TypeChange>& answer) {
    const bool hasComeToNothing = answer.found.empty() && answer.end != End::answered;
    if (since && !hasComeToNothing) history->noteRefresh(answer.found, *since);
    completion(shownAnswer(answer, wording));
  };
  asked->refresh({.deadline = command::questionOptions(arguments_).deadline}).then(onAnswer).detach();
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
                      .changes = history_->latest().number,
                      .totals = activity_->totals(),
                      .entries = activity_->after(afterEntry)};
  if (readiness.failure() != nullptr) {
    state.trouble = shownFailure(*readiness.failure(), *secrets_);
    state.error = state.trouble->text;
  }
  const bool isReady = readiness.readinessCase() == Readiness::Case::ready;
  state.ready = isReady && state.themes.fresh && state.sObjects.fresh;
  return state;
}

std::vector<SObject> Explorer::types() const {
  return cachedSObjects(*host_.cache);
}

void Explorer::presentations(const std::vector<std::string>& names, const std::string& theme,
                             std::function<void(PresentationAnswer)> completion) const {
  auto options = command::questionOptions(arguments_);
  options.theme = theme;
  ask<ObjectPresentationInfo>(
      &Catalog::types, names, options,
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

void Explorer::lackingLayouts(const std::vector<std::string>& names,
                              std::function<void(LackingLayouts)> completion) const {
  const auto options = command::questionOptions(arguments_);
  ask<ObjectLayoutInfo>(
      &Catalog::searchColumns, names, options,
      [names, asked = catalog(), options, wording = wordingWithout(secrets_),
       completion = std::move(completion)](const auto& columns) {
        asked->headlines(names, options)
            .then([asked, wording, completion,
                   lacking = lackingSearchColumns(columns, wording)](const auto& headlines) mutable {
              noteLacking(headlines, wording, lacking.headlines, lacking.unanswered);
              completion(std::move(lacking));
            })
            .detach();
      });
}

template <class T>
void Explorer::askLayout(Ask<T> question, const std::string& name,
                         std::function<void(LayoutAnswer<T>)> completion) const {
  ask<T>(question, {name}, command::questionOptions(arguments_),
         [asked = now(), wording = wordingWithout(secrets_), completion = std::move(completion)](
             const auto& answer) { completion(shownAnswer(answer, asked, wording)); });
}

template <class T>
void Explorer::ask(Ask<T> question, const std::vector<std::string>& keys, const QuestionOptions& options,
                   std::function<void(const Answer<T>& answer)> onAnswer) const {
  const auto asked = catalog();
  // The callback keeps the catalogue: the answer comes also when another has taken its place.
  ((*asked).*question)(keys, options)
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
