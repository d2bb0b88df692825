#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vellora/DataServices/CacheState.h"
#include "vellora/DataServices/KeyResult.h"
#include "vellora/DataServices/ListState.h"
#include "vellora/DataServices/Requester.h"
#include "vellora/DataServices/Source.h"
#include "vellora/DataServices/ThemeDataServiceError.h"
#include "vellora/Host/RequiredAPI.h"
#include "vellora/Models/ThemeItem.h"
#include "vellora/Platform/Publishers/Cancellables.h"
#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Publishers/SharedRuns.h"
#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

template <class Record>
class FetchedOnce;
template <class Record>
class NamedList;
template <class T>
class Looked;
template <class T>
class Remembered;
class Renewals;
struct ThemeResponse;
class TimestampedTable;

/// Answers which colours and icons object types have. The server gives the theme entries of all types in one
/// list, "/services/data/v50.0/theme". It is kept as one row of the table "OPS_ThemesCacheTable", with the
/// moment of its fetch in the blob "ops.theme.fetch.timestamp"; each entry that was asked for also has a row
/// of its own.
///
/// Only `loadThemes` looks at the age of the list. A lookup takes what there is, however old: an outdated
/// colour now is better than the right one after a round trip.
///
///     const auto service = std::make_shared<ThemeDataService>(api, 3600);
///     token = service->themes({"Account", "Contact"}).sink([](const auto& themes) {
///       const auto account = themes.find("Account");  // the end when the server has no entry for it
///     });
///
/// Ownership: make it with `std::make_shared`. The publisher that `themes` returns holds it for as long as
/// the publisher or a copy is kept, subscribed to or not. A running lookup holds it until all of its names
/// have been taken up; what waits for the network holds it weakly and goes on without it, but caches and logs
/// nothing any more. The last handle trims the table to the 100 newest single entries, on whatever thread it
/// is dropped.
///
/// Threads: safe to use from several threads at once. `loadThemes` reads the cache and sends its request on
/// the caller's thread, a lookup on a serial queue of the service. Both go on where the host's network calls
/// back, or on that queue when the answer was there first.
///
/// Errors: a `ThemeDataServiceError`, `other` or `noData`; where memory ran out, maybe a bare `OutOfMemory`.
/// An entry of the cache that does not decode, or encode, is logged and counts as absent.
///
/// Units: the time-out is in seconds.
class VELLORA_EXPORT ThemeDataService : public std::enable_shared_from_this<ThemeDataService> {
 public:
  using CacheState = vellora::CacheState;
  using LoadCompletion = std::function<void(std::optional<ThemeDataServiceError> error)>;

  /// The meta of the rows, and the version of the server's interface.
  struct Constants {
    static constexpr std::string_view name = "name";  ///< meta key: which entry a row holds
    static constexpr std::string_view cacheEntryType = "cacheEntryType";  ///< meta key of every row: its kind
    static constexpr std::string_view listKind = "themes";        ///< the kind of the row that holds the list
    static constexpr std::string_view queryApiVersion = "v50.0";  ///< in the path of the request
  };

  /// Takes the host's facilities and opens or creates the table; reads nothing. `cacheTimeout` is the age in
  /// seconds beyond which the list counts as expired.
  ThemeDataService(const RequiredAPI& api, double cacheTimeout);
  ~ThemeDataService();
  ThemeDataService(const ThemeDataService&) = delete;
  ThemeDataService& operator=(const ThemeDataService&) = delete;

  /// Whether the list is cached and fresh. Reads the row "themes" and the time stamp at each call, on the
  /// caller's thread.
  [[nodiscard]] CacheState cacheState() const;

  /// Makes sure that the list is cached and fresh; an empty or expired cache has it fetched. A fetched list
  /// replaces the row "themes" and sets the time stamp.
  ///
  /// The completion, if there is one, is called once: at once when nothing is to be done; else after the
  /// fetch, unless the service was released before. A failure that it is told of is logged twice: where it
  /// happened, and as it is handed on.
  void loadThemes(LoadCompletion completion);

  /// Looks up the theme entries of the object types `names`; yields one dictionary by name, in which a type
  /// without an entry has no key. Fails as a whole when a fetch fails.
  ///
  /// An entry comes from its row "theme", else from the list in row "themes", else from a fetch of the list;
  /// what was found in the list gets a row of its own. While no list is cached each name fetches it for
  /// itself.
  [[nodiscard]] Publisher<std::map<std::string, ThemeItem>> themes(std::vector<std::string> names);

  // Lookups by key, as in `SObjectsDataService`: they tell of each key what became of it, work
  // where they are subscribed to, and share what equal requests bring.

  using Themes = std::shared_ptr<const NamedList<ThemeItem>>;

  /// Whether the list is cached and fresh, and since when. The same reads as `cacheState`.
  [[nodiscard]] ListState listState() const;

  /// Yields, in any order, the theme entry of each of `names`; an absent value where the list has none. One
  /// lookup fetches the list once. `loaded` is one that was just fetched, or null: it serves where the cache
  /// has not kept it.
  [[nodiscard]] Publisher<KeyResult<std::optional<ThemeItem>>> eachTheme(std::vector<std::string> names,
                                                                         Source source,
                                                                         Fetching fetching = {},
                                                                         Themes loaded = nullptr);

  /// Yields the cached list, however old, or else the one that was just `loaded`, or else a fetched one; with
  /// `cacheOnly` it fails with `NotCached` then.
  [[nodiscard]] Publisher<Themes> allThemes(Source source, Fetching fetching = {}, Themes loaded = nullptr);

  /// Fetches the list, unless the cached one is fresh when the fetch would begin: one that has come since the
  /// caller looked serves.
  [[nodiscard]] Publisher<Themes> currentThemes(const Fetching& fetching = {});

  /// Fetches the list, however young the cached one is.
  [[nodiscard]] Publisher<Themes> renewedThemes(const Fetching& fetching = {});

  /// The same, as the list is at this call: a fetch that was sent before is not joined, and does not take its
  /// place.
  [[nodiscard]] Publisher<Themes> themesFromNowOn(const Fetching& fetching = {});

  /// Purges and removes all that the service wrote.
  void forget() const;

  /// Lets go of what is kept in decoded form. The next lookup that needs it decodes it anew.
  void releaseMemory() const;

 private:
  using ThemeTuple = std::pair<std::string, std::optional<ThemeItem>>;

  /// How a step goes about what the cache lacks.
  struct Asking {
    Source source = Source::cacheFirst;
    bool isShared = false;  ///< whether equal requests share one
    Fetching fetching = {};
    std::shared_ptr<FetchedOnce<ThemeItem>> fetched = nullptr;  ///< by this lookup; null where none is shared
  };

  [[nodiscard]] Looked<ThemeTuple> themeTuple(std::string name);
  [[nodiscard]] Looked<std::optional<ThemeItem>> theme(const std::string& name, const Asking& asking);
  [[nodiscard]] Publisher<std::optional<ThemeItem>> themeOnServer(const std::string& name,
                                                                  const Asking& asking);
  [[nodiscard]] Publisher<std::vector<ThemeItem>> fetchedThemes();
  [[nodiscard]] Publisher<ThemeResponse> fetchedList(const Fetching& fetching);
  /// Saves the list unless that of a later renewal has come.
  [[nodiscard]] Publisher<Themes> sharedThemes(const Fetching& fetching, bool mayBeCached = false);

  [[nodiscard]] std::shared_ptr<const NamedList<ThemeItem>> cachedThemes() const;  // null when absent
  [[nodiscard]] std::optional<ThemeItem> cachedTheme(const std::string& name) const;
  void save(const std::vector<ThemeItem>& themes) const;
  void save(const ThemeItem& theme) const;
  void dropOldSingles(const Fetching& fetching);

  void log(std::string_view message, std::initializer_list<std::string_view> parts = {}) const;
  static ThemeDataServiceError mapped(const Error& error, const std::weak_ptr<ThemeDataService>& weak);

  // Constant after construction.
  const std::shared_ptr<CorvaneSDK::Network> network_;
  const std::shared_ptr<CorvaneSDK::Logger> logger_;
  const std::unique_ptr<const TimestampedTable> table_;
  const std::shared_ptr<DispatchQueue> queue_;

  // Synchronise themselves.
  Cancellables subscriptions_;
  const std::unique_ptr<const Remembered<NamedList<ThemeItem>>> list_;  // decoded, while its bytes stay
  /// Whether rows of single entries may come from an older list than the cached one.
  std::atomic<bool> areSinglesOld_ = false;
  const SharedRuns<Themes> lists_;
  const std::shared_ptr<Renewals> renewals_;
};

}  // namespace vellora
