#include "vellora/Catalog/InfoLookup.h"

#include <iterator>
#include <new>
#include <utility>

#include "vellora/Catalog/Reasons.h"
#include "vellora/Platform/Values/OutOfMemory.h"

namespace vellora {

InfoLookup::InfoLookup(std::shared_ptr<const Session> session, AskedPtr question, Wanted wanted)
    : session_(std::move(session)), question_(std::move(question)), wanted_(std::move(wanted)) {}

template <class Step>
void InfoLookup::inGate(Step step) {
  try {
    gate_.run([self = shared_from_this(), step = std::move(step)]() mutable {
      try {
        step(*self);
      } catch (const std::bad_alloc&) {
        self->question_->fail(outOfMemory());
      }
    });
  } catch (const std::bad_alloc&) {
    question_->fail(outOfMemory());
  }
}

void InfoLookup::start() {
  const auto find = [self = shared_from_this()](const PreparedLists& lists) { self->findTypes(lists); };
  question_->keep(
      session_->lists.prepared(wanted_.source, question_->fetching()).sink(find, failing(question_)));
}

void InfoLookup::findTypes(const PreparedLists& lists) {
  lists_ = lists;
  question_->write([lists](auto& sheet) {
    sheet.setAge(lists.age());
    if (lists.typesFailure) sheet.trouble(Failure(*lists.typesFailure));
    if (lists.themesFailure) sheet.trouble(Failure(*lists.themesFailure));
  });
  ask(*wanted_.keys, lists.typesSource(wanted_.source));
}

void InfoLookup::ask(const std::vector<std::string>& keys, Source source) {
  const auto self = shared_from_this();
  inGate([](InfoLookup& lookup) { lookup.isCollecting_ = true; });
  const auto onFound = [self](Found found) {
    self->inGate([found = std::move(found)](InfoLookup& lookup) mutable { lookup.take(std::move(found)); });
  };
  question_->keep(typesOf(keys, source).sink(onFound, failing(question_)));
  inGate([](InfoLookup& lookup) {
    lookup.isCollecting_ = false;
    lookup.findThemes();
  });
}

Publisher<InfoLookup::Found> InfoLookup::typesOf(const std::vector<std::string>& keys, Source source) const {
  const auto& service = session_->services.sObjects;
  if (wanted_.kind == Wanted::Kind::ids)
    return service->eachOfIds(keys, source, question_->fetching(), lists_.loadedTypes);
  return service->eachOfNames(keys, source, question_->fetching(), lists_.loadedTypes)
      .map([](KeyResult<std::optional<SObject>>&& found) -> Found {
        if (!found.value) return {std::move(found.key), found.value.error()};
        return {std::move(found.key), TypeAndInstance{std::move(found.value).value(), std::nullopt}};
      });
}

void InfoLookup::take(Found found) {
  const bool isToFallBack = !found.value && wanted_.source == Source::serverFirst;
  batch_.push_back(isToFallBack ? cachedOr(std::move(found)) : std::move(found));
  if (!isCollecting_) findThemes();
}

InfoLookup::Found InfoLookup::cachedOr(Found failed) const {
  const Failure failure(failed.value.error());
  question_->write([failure](auto& sheet) { sheet.trouble(failure); });
  std::optional<Found> cached;
  const auto token =
      typesOf({failed.key}, Source::cacheOnly).sink([&](Found found) { cached = std::move(found); });
  return cached && cached->value ? *std::move(cached) : std::move(failed);
}

void InfoLookup::findThemes() {
  const auto batch = std::make_shared<const Batch>(std::exchange(batch_, {}));
  const auto names = newTypesIn(*batch);
  const auto found = std::make_shared<Themes>();
  const auto onFound = [question = question_, found](KeyResult<std::optional<ThemeItem>> theme) {
    if (!theme.value) {
      return question->write([why = Failure(theme.value.error())](auto& sheet) { sheet.trouble(why); });
    }
    found->insert_or_assign(std::move(theme.key), std::move(theme.value).value());
  };
  const auto onEnd = [self = shared_from_this(), batch, found](const Completion& error) {
    if (error) return self->question_->fail(*error);
    self->inGate([batch, found](InfoLookup& lookup) {
      lookup.themes_.merge(*found);
      lookup.pair(*batch);
    });
  };
  question_->keep(session_->services.themes
                      ->eachTheme({names.begin(), names.end()}, lists_.themesSource(wanted_.source),
                                  question_->fetching(), lists_.loadedThemes)
                      .sink(onFound, onEnd));
}

std::set<std::string> InfoLookup::newTypesIn(const Batch& batch) const {
  std::set<std::string> names;
  const auto add = [&](const std::optional<SObject>& type) {
    if (type && !themes_.contains(type->name)) names.insert(type->name);
  };
  for (const auto& found : batch) {
    if (!found.value) continue;
    add(found.value.value().type);
    add(found.value.value().instance);
  }
  return names;
}

void InfoLookup::pair(const Batch& batch) {
  using Infos = std::vector<std::pair<std::string, ObjectPresentationInfo>>;
  Infos infos;
  Infos ofListViews;
  std::vector<std::pair<std::string, Missing>> others;
  for (const auto& found : batch) {
    const auto* types = found.value ? &found.value.value() : nullptr;
    if (!types || !types->type) {
      others.emplace_back(found.key, missing(found));
      continue;
    }
    auto& list = types->instance ? ofListViews : infos;
    list.emplace_back(found.key, ObjectPresentationInfo(themeOf(types->type), *types->type, wanted_.theme,
                                                        themeOf(types->instance), types->instance));
  }
  // What a list view lists is kept however old it is, and without a date.
  const Age undated{std::nullopt, lists_.age().isStale};
  question_->write([infos = std::move(infos), ofListViews = std::move(ofListViews), undated,
                    others = std::move(others)](auto& sheet) mutable {
    for (auto& [key, info] : infos) sheet.found(key, std::move(info));
    for (auto& [key, info] : ofListViews) sheet.found(key, std::move(info), undated);
    for (auto& [key, reason] : others) sheet.missed(key, std::move(reason));
  });
}

const std::optional<ThemeItem>& InfoLookup::themeOf(const std::optional<SObject>& type) const {
  static const std::optional<ThemeItem> none;
  const auto found = type ? themes_.find(type->name) : themes_.end();
  return found == themes_.end() ? none : found->second;
}

Missing InfoLookup::missing(const Found& found) const {
  if (!found.value) return missingFor(found.value.error(), wanted_.source, lists_.typesFailure);
  // A list that is not up to date does not say what the server knows.
  if (lists_.typesFailure) return Missing(Missing::Why::failed, Failure(*lists_.typesFailure));
  if (wanted_.source == Source::cacheOnly && lists_.types.state != CacheState::valid)
    return Missing(Missing::Why::notCached);
  return Missing(Missing::Why::unknown);
}

}  // namespace vellora
