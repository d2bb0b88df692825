#include "vellora/DataServices/ThemeDataService.h"

#include <algorithm>
#include <new>

#include "vellora/DataServices/FetchTime.h"
#include "vellora/DataServices/FetchedOnce.h"
#include "vellora/DataServices/LogLine.h"
#include "vellora/DataServices/Looked.h"
#include "vellora/DataServices/NamedList.h"
#include "vellora/DataServices/NotCached.h"
#include "vellora/DataServices/Renewals.h"
#include "vellora/DataServices/Requester.h"
#include "vellora/DataServices/Sending.h"
#include "vellora/DataServices/ServerRequest.h"
#include "vellora/DataServices/SharedFetch.h"
#include "vellora/DataServices/Silence.h"
#include "vellora/DataServices/ThemesTable.h"
#include "vellora/DataServices/TimestampedTable.h"
#include "vellora/Models/ThemeResponse.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"
#include "vellora/Platform/Values/Remembered.h"

namespace vellora {

namespace {

constexpr std::string_view listKind = ThemeDataService::Constants::listKind;
constexpr std::string_view entryKind = "theme";

constexpr std::string_view listWasFetched = "fetchedThemes(), themes was fetched then cached";

static_assert(ThemeDataService::Constants::cacheEntryType == TimestampedTable::cacheEntryType);

CorvaneSDK::Meta metaOfEntry(const std::string& name) {
  return TimestampedTable::itemMeta(entryKind, ThemeDataService::Constants::name, name);
}

std::optional<ThemeItem> firstNamed(const std::string& name, const std::vector<ThemeItem>& themes) {
  const auto found =
      std::find_if(themes.begin(), themes.end(), [&](const ThemeItem& theme) { return theme.name == name; });
  return found == themes.end() ? std::nullopt : std::optional(*found);
}

ThemeDataServiceError ofRequest(const ThemeDataServiceError& error, const std::string& url) {
  return error.ofRequest(url, error.payload() ? std::optional(*error.payload()) : std::nullopt);
}

}  // namespace

ThemeDataService::ThemeDataService(const RequiredAPI& api, double cacheTimeout)
    : network_(api.network),
      logger_(api.logger),
      table_(std::make_unique<const TimestampedTable>(
          api.cache, logger_, cacheTimeout,
          TimestampedTable::Names{std::string(themesTableKey), std::string(themesFetchTimeKey),
                                  std::string(listKind)})),
      queue_(std::make_shared<SerialDispatchQueue>("ThemeDataService.queue", DispatchQoS::userInitiated)),
      list_(std::make_unique<const Remembered<NamedList<ThemeItem>>>()),
      renewals_(std::make_shared<Renewals>()) {}

ThemeDataService::~ThemeDataService() {
  try {
    table_->enforceCacheCount(entryKind);
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the rows are left to the next purge
  }
}

ThemeDataService::CacheState ThemeDataService::cacheState() const {
  return table_->cacheState();
}

void ThemeDataService::loadThemes(LoadCompletion completion) {
  const auto self = shared_from_this();  // host or completion may drop the last other reference
  log("loadThemes(completion:), cacheState: " + describe(cacheState()));
  if (cacheState() == CacheState::valid) {
    if (completion) completion(std::nullopt);
    return;
  }
  const auto ended = [weak = weak_from_this(),
                      completion = std::move(completion)](const std::optional<Error>& error) {
    if (error) {
      if (completion) completion(mapped(*error, weak));
      return;
    }
    if (const auto service = weak.lock()) service->log("loadThemes(completion:), fetch completed");
    if (completion) completion(std::nullopt);
  };
  fetchedThemes().subscribe(queue_).sink(
      subscriptions_, [](const auto&) {}, ended);
}

Publisher<std::map<std::string, ThemeItem>> ThemeDataService::themes(std::vector<std::string> names) {
  return Publisher<std::string>::sequence(std::move(names))
      .receive(queue_)
      .flatMap([self = shared_from_this()](std::string name) {
        return self->themeTuple(std::move(name)).publisher();
      })
      .collect()
      .map([weak = weak_from_this()](std::vector<ThemeTuple>&& tuples) {
        std::map<std::string, ThemeItem> found;
        for (auto& [name, theme] : tuples) {
          if (const auto service = weak.lock()) service->log("themes(for:): name: ", {name});
          if (theme) {
            found.insert_or_assign(found.end(), std::move(name), *std::move(theme));
          } else {
            found.erase(name);
          }
        }
        return found;
      });
}

Looked<ThemeDataService::ThemeTuple> ThemeDataService::themeTuple(std::string name) {
  auto entry = theme(name, {});
  return std::move(entry).map(
      [name = std::move(name)](std::optional<ThemeItem> theme) mutable {  // called once
        return ThemeTuple(std::move(name), std::move(theme));
      });
}

Looked<std::optional<ThemeItem>> ThemeDataService::theme(const std::string& name, const Asking& asking) {
  using Entry = std::optional<ThemeItem>;
  if (auto entry = cachedTheme(name)) return entry;
  const auto drops = table_->drops();
  if (const auto list = cachedThemes()) {
    const ThemeItem* entry = list->firstNamed(name);
    if (!entry) {
      log("theme(for:), no theme was found for name: ", {name});
      return Entry();
    }
    writeFor(asking.fetching, [&] {
      save(*entry);
      // A newer list may have come meanwhile, and its rows been dropped before this one came.
      if (asking.isShared && table_->drops() != drops) table_->drop(entryKind);
    });
    return Entry(*entry);
  }
  if (asking.isShared) return themeOnServer(name, asking);
  return fetchedThemes().map([name, weak = weak_from_this()](const std::vector<ThemeItem>& list) {
    auto entry = firstNamed(name, list);
    const auto service = entry ? weak.lock() : nullptr;
    if (service) service->save(*entry);
    return entry;
  });
}

/// The same for a lookup by key, when the cache has no list.
Publisher<std::optional<ThemeItem>> ThemeDataService::themeOnServer(const std::string& name,
                                                                    const Asking& asking) {
  using Answer = Publisher<std::optional<ThemeItem>>;
  const auto& fetched = asking.fetched;
  if (auto known = fetched->named(name))
    return *known ? Answer::just(std::move(*known).value()) : Answer::fail(known->error());
  if (asking.source == Source::cacheOnly) return Answer::fail(NotCached());
  return sharedThemes(asking.fetching).results().tryMap([name, fetched](Result<Themes>&& list) {
    return fetched->noted(std::move(list), name);
  });
}

Publisher<std::vector<ThemeItem>> ThemeDataService::fetchedThemes() {
  return fetchedList({}).map([weak = weak_from_this()](ThemeResponse response) {
    if (const auto service = weak.lock()) {
      service->save(response.themeItems);
      service->areSinglesOld_ = true;
    }
    if (const auto service = weak.lock()) service->log(listWasFetched);
    return std::move(response.themeItems);
  });
}

Publisher<ThemeResponse> ThemeDataService::fetchedList(const Fetching& fetching) {
  log("fetchedThemes()");
  const auto request = serverRequest("/services/data/" + std::string(Constants::queryApiVersion) + "/theme");
  if (!request) return Publisher<ThemeResponse>::fail(ThemeDataServiceError::invalidUrl());
  const auto weak = weak_from_this();
  // Sent now, not at the subscription, so that a load's request goes out on the caller's thread.
  return sentNow(*network_, *request, Preferred::error, fetching)
      .tryMap(decodedBody<ThemeResponse, ThemeDataServiceError::noData>)
      .mapError([weak, url = request->base().url.absoluteString()](const Error& error) {
        return ofRequest(mapped(error, weak), url);
      });
}

ListState ThemeDataService::listState() const {
  return table_->listState();
}

Publisher<KeyResult<std::optional<ThemeItem>>> ThemeDataService::eachTheme(std::vector<std::string> names,
                                                                           Source source, Fetching fetching,
                                                                           Themes loaded) {
  using Entry = std::optional<ThemeItem>;
  const auto fetched = std::make_shared<FetchedOnce<ThemeItem>>(std::move(loaded));
  return Publisher<std::string>::sequence(std::move(names))
      .flatMap([weak = weak_from_this(),
                asking = Asking{source, true, std::move(fetching), fetched}](const std::string& name) {
        const auto self = weak.lock();
        if (!self) return silence<KeyResult<Entry>>();
        self->dropOldSingles(asking.fetching);
        auto looked = self->theme(name, asking);
        if (Entry* entry = looked.value())
          return Publisher<KeyResult<Entry>>::just({name, std::move(*entry)});
        return std::move(looked).publisher().results().map([name](Result<Entry>&& entry) {
          return KeyResult<Entry>{name, std::move(entry)};
        });
      });
}

Publisher<ThemeDataService::Themes> ThemeDataService::allThemes(Source source, Fetching fetching,
                                                                Themes loaded) {
  return Publisher<Themes>::deferred(
      [weak = weak_from_this(), source, fetching = std::move(fetching), loaded = std::move(loaded)] {
        const auto self = weak.lock();
        if (!self) return silence<Themes>();
        if (auto cached = self->cachedThemes()) return Publisher<Themes>::just(std::move(cached));
        if (loaded) return Publisher<Themes>::just(loaded);
        if (source == Source::cacheOnly) return Publisher<Themes>::fail(NotCached());
        return self->sharedThemes(fetching);
      });
}

Publisher<ThemeDataService::Themes> ThemeDataService::currentThemes(const Fetching& fetching) {
  return sharedThemes(fetching, true);
}

Publisher<ThemeDataService::Themes> ThemeDataService::renewedThemes(const Fetching& fetching) {
  return sharedThemes(fetching);
}

Publisher<ThemeDataService::Themes> ThemeDataService::themesFromNowOn(const Fetching& fetching) {
  renewals_->begin();
  return sharedThemes(fetching);
}

Publisher<ThemeDataService::Themes> ThemeDataService::sharedThemes(const Fetching& fetching,
                                                                   bool mayBeCached) {
  const auto renewal = renewals_->current();
  const auto key = Renewals::key("theme", renewal);
  return sharedFetch(
      lists_, key, fetching, [weak = weak_from_this(), renewal, mayBeCached](const Fetching& attempt) {
        const auto self = weak.lock();
        if (!self) return silence<Themes>();
        if (mayBeCached && self->listState().state == CacheState::valid) {
          if (auto cached = self->cachedThemes()) return Publisher<Themes>::just(std::move(cached));
        }
        const auto save = [weak, attempt](const Themes& list) {
          writeFor(attempt, [&] {
            const auto service = weak.lock();
            if (!service) return;
            service->table_->drop(
                entryKind);  // before as well: no row may be older than the list for a moment
            service->save(list->records());
          });
        };
        return self->fetchedList(attempt)
            .flatMap([renewal, renewals = self->renewals_, save](ThemeResponse response) {
              const auto list = std::make_shared<const NamedList<ThemeItem>>(std::move(response.themeItems));
              return renewals->kept<Themes>(renewal, list, save);
            })
            .map([weak, attempt](const Themes& list) {
              if (const auto service = weak.lock()) service->log(listWasFetched);
              writeFor(attempt, [&] {
                if (const auto service = weak.lock()) service->table_->drop(entryKind);
              });
              return list;
            });
      });
}

void ThemeDataService::forget() const {
  table_->forget();
  releaseMemory();
}

void ThemeDataService::releaseMemory() const {
  list_->forget();
}

std::shared_ptr<const NamedList<ThemeItem>> ThemeDataService::cachedThemes() const {
  return table_->read(*list_, NamedList<ThemeItem>::decode, TimestampedTable::kindMeta(listKind),
                      "cachedThemes()");
}

std::optional<ThemeItem> ThemeDataService::cachedTheme(const std::string& name) const {
  return table_->read<ThemeItem>(metaOfEntry(name), "cachedTheme(for:)",
                                 {", name: ", name, ", was retrieved from cache"});
}

void ThemeDataService::save(const std::vector<ThemeItem>& themes) const {
  if (table_->write(themes, TimestampedTable::kindMeta(listKind), "save(_:)")) table_->saveFetchTimeStamp();
}

void ThemeDataService::save(const ThemeItem& theme) const {
  table_->write(theme, metaOfEntry(theme.name), "save(_:)", {", theme.name: ", theme.name});
}

/// Drops what lookups took from the list before a lookup of the first kind fetched another.
void ThemeDataService::dropOldSingles(const Fetching& fetching) {
  if (areSinglesOld_.exchange(false)) writeFor(fetching, [&] { table_->drop(entryKind); });
}

void ThemeDataService::log(std::string_view message, std::initializer_list<std::string_view> parts) const {
  logLine(*logger_, CorvaneSDK::LogLevel::info, message, parts);
}

ThemeDataServiceError ThemeDataService::mapped(const Error& error,
                                               const std::weak_ptr<ThemeDataService>& weak) {
  const auto service = weak.lock();
  return ThemeDataServiceError::map(error, service ? service->logger_.get() : nullptr);
}

}  // namespace vellora
