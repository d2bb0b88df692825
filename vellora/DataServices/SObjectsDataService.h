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
#include <vector>

#include "vellora/DataServices/CacheState.h"
#include "vellora/DataServices/KeyResult.h"
#include "vellora/DataServices/ListState.h"
#include "vellora/DataServices/Requester.h"
#include "vellora/DataServices/SObjectsDataServiceError.h"
#include "vellora/DataServices/Source.h"
#include "vellora/Host/NetRequest.h"
#include "vellora/Host/RequiredAPI.h"
#include "vellora/Models/SObject.h"
#include "vellora/Platform/Publishers/Cancellables.h"
#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Publishers/SharedRuns.h"
#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Values/Export.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora {

template <class Record>
class FetchedOnce;
template <class T>
class Looked;
template <class Record>
class NamedList;
class Renewals;
class SObjectsCache;
struct SObjectsResponse;

/// Tells which object type a record id or a name belongs to. Fetches the object list from
/// "/services/data/v50.0/sobjects" and what a list view lists from "/services/data/v50.0/query", and keeps
/// both in the host's table "OPS_SObjectsCacheTable", the time of the last fetch in the blob
/// "ops.sobject.fetch.timestamp".
///
/// Only `loadSObjects` looks at the age of the list. The lookups take the first of: the row of the single
/// item, the cached list, a fetch; however old the rows are. Fetches are not shared: each lookup that finds
/// no list sends a request of its own.
///
///     const auto service = std::make_shared<SObjectsDataService>(api, 3600);
///     token = service->sObjectsForIds({"001000000000001"}).sink([](const auto& found) {
///       const auto& type = found.at("001000000000001").type;  // absent when nobody knows the prefix "001"
///     });
///
/// Ownership: make it with `std::make_shared`. Everything under way holds it weakly. Once it is released, an
/// answer of the server is still passed on, but nothing is saved or logged; what would need the service's
/// cache or a new request stays silent; a load under way is cancelled. The last to let go of it runs the
/// purge that leaves the 100 newest rows of each kind of single item, on whatever thread that is.
///
/// Threads: safe to use from several threads at once. A lookup does nothing before it is subscribed to; its
/// cache work then runs on a private serial queue, and it answers there or, after a request, on the thread on
/// which the host's network calls back.
///
/// Errors: producers fail with a `SObjectsDataServiceError`: `other` for transport and decoding errors,
/// `noData`, `invalidUrl`; where memory ran out, maybe with a bare `OutOfMemory`. What is not known is an
/// absent value, not an error. An entry of the cache that does not decode, or encode, is logged and counts as
/// absent.
///
/// Units: the time-out is in seconds.
class VELLORA_EXPORT SObjectsDataService : public std::enable_shared_from_this<SObjectsDataService> {
 public:
  /// The meta keys of the rows, and the version of the server's interface.
  struct Constants {
    static constexpr std::string_view id = "id";                          ///< of a list view
    static constexpr std::string_view name = "name";                      ///< of a single object type
    static constexpr std::string_view keyPrefix = "keyPrefix";            ///< of a single key prefix
    static constexpr std::string_view cacheEntryType = "cacheEntryType";  ///< of every row: its kind
    static constexpr std::string_view queryApiVersion = "v50.0";          ///< in the path of each request
  };

  /// The kinds of rows. A row bears its kind's name in its meta, under "cacheEntryType"; see `rawValue`.
  enum class CacheEntryType {
    listView,     ///< what one list view lists: text, or null where the server gave no type
    sObjects,     ///< the object list
    sObject,      ///< one object type
    keyPrefixes,  ///< object API names by key prefix
    keyPrefix,    ///< the object API name of one key prefix
  };

  using CacheState = vellora::CacheState;

  /// What a record id stands for.
  struct TypeAndInstance {
    std::optional<SObject> type;  ///< the type that the record is of
    std::optional<SObject>
        instance;  ///< for a list view, the type that it lists; absent for any other record

    friend bool operator==(const TypeAndInstance&, const TypeAndInstance&) = default;
  };

  using LoadCompletion = std::function<void(std::optional<SObjectsDataServiceError> error)>;

  /// Takes the host's facilities and opens or creates the table; reads nothing. `cacheTimeout` is the age in
  /// seconds beyond which the list counts as expired.
  SObjectsDataService(const RequiredAPI& api, double cacheTimeout);
  ~SObjectsDataService();
  SObjectsDataService(const SObjectsDataService&) = delete;
  SObjectsDataService& operator=(const SObjectsDataService&) = delete;

  /// Whether the object list is cached and fresh. Reads the row "sObjects" and the time stamp at each call,
  /// on the caller's thread.
  [[nodiscard]] CacheState cacheState() const;

  /// Makes sure that a fresh object list is cached; an empty or expired cache has it fetched from
  /// "/services/data/v50.0/sobjects". A fetched list replaces the rows "sObjects" and "keyPrefixes" and sets
  /// the time stamp.
  ///
  /// The completion, if there is one, is told of the failure or of none: inside the call when the cache is
  /// valid, else when the fetch, which starts on the service's queue, has ended, unless the service was
  /// released before. A failure that the completion is told of is logged twice: where it happened, and as it
  /// is handed on.
  void loadSObjects(LoadCompletion completion);

  /// Yields what each of `ids` stands for, once, after the last of them has been found out; fails as a whole
  /// when one of them does. Each id has an entry, one of an unknown type without a value.
  ///
  /// An id's first three characters are the key prefix of its type: row "keyPrefix", else the table in row
  /// "keyPrefixes". Neither is fetched for it. What a list view lists is in row "listView", else asked of
  /// "/services/data/v50.0/query". What was found gets a row of its own.
  [[nodiscard]] Publisher<std::map<std::string, TypeAndInstance>> sObjectsForIds(
      std::vector<std::string> ids);

  /// The same for the object types of `names`: row "sObject", else the list in row "sObjects", else a fetch
  /// of the list. Names are compared exactly; one that the list lacks has an absent value.
  [[nodiscard]] Publisher<std::map<std::string, std::optional<SObject>>> sObjectsForNames(
      std::vector<std::string> names);

  // Lookups by key. They tell of each key what became of it, and take the same steps as the lookups above.
  // They differ in four things. They work on the thread that subscribes, or on which the network calls back.
  // Equal requests under way are shared, and dropped when nobody waits for them any more. A failure concerns
  // its key only. And a fetched list purges the rows that single lookups took from an older list.

  using SObjects = std::shared_ptr<const NamedList<SObject>>;

  /// Whether the object list is cached and fresh, and since when. The same reads as `cacheState`.
  [[nodiscard]] ListState listState() const;

  /// Yields, in any order, what each of `ids` stands for. An id of an unknown type has a value without a
  /// type; where the cache does not know any key prefixes it fails with `NotCached`. `loaded` is a list that
  /// was just fetched, or null: it serves where the cache has not kept it.
  [[nodiscard]] Publisher<KeyResult<TypeAndInstance>> eachOfIds(std::vector<std::string> ids, Source source,
                                                                Fetching fetching = {},
                                                                SObjects loaded = nullptr);

  /// The same for the object types of `names`; one that the list lacks has an absent value. One lookup
  /// fetches the list once.
  [[nodiscard]] Publisher<KeyResult<std::optional<SObject>>> eachOfNames(std::vector<std::string> names,
                                                                         Source source,
                                                                         Fetching fetching = {},
                                                                         SObjects loaded = nullptr);

  /// Yields the cached list, however old, or else the one that was just `loaded`, or else a fetched one; with
  /// `cacheOnly` it fails with `NotCached` then.
  [[nodiscard]] Publisher<SObjects> allSObjects(Source source, Fetching fetching = {},
                                                SObjects loaded = nullptr);

  /// Fetches the list, unless the cached one is fresh when the fetch would begin: one that has come since the
  /// caller looked serves.
  [[nodiscard]] Publisher<SObjects> currentSObjects(const Fetching& fetching = {});

  /// Fetches the list, however young the cached one is.
  [[nodiscard]] Publisher<SObjects> renewedSObjects(const Fetching& fetching = {});

  /// The same, as the list is at this call: a fetch that was sent before is not joined, and does not take its
  /// place. Nor does what was asked of a list view before.
  [[nodiscard]] Publisher<SObjects> sObjectsFromNowOn(const Fetching& fetching = {});

  /// Purges what list views list, so that it is asked anew.
  void forgetListViews() const;

  /// Purges and removes all that the service wrote.
  void forget() const;

  /// Lets go of what is kept in decoded form. The next lookup that needs it decodes it anew.
  void releaseMemory() const;

 private:
  struct IdTuple;
  struct NameTuple;
  using OptionalSObject = std::optional<SObject>;

  /// How a step goes about what the cache lacks.
  struct Asking {
    Source source = Source::cacheFirst;
    bool isShared = false;  ///< whether equal requests share one
    Fetching fetching = {};
    std::shared_ptr<FetchedOnce<SObject>> fetched = nullptr;  ///< by this lookup; null where none is shared
  };

  template <class Tuple>
  using LookUp = Looked<Tuple> (SObjectsDataService::*)(std::string key, const Asking& asking);

  template <class Tuple>
  [[nodiscard]] Publisher<std::vector<Tuple>> collected(std::vector<std::string> keys, LookUp<Tuple> lookUp);
  template <class T, class Tuple, class ValueOf>
  [[nodiscard]] Publisher<KeyResult<T>> each(std::vector<std::string> keys, LookUp<Tuple> lookUp,
                                             Asking asking, ValueOf valueOf);

  // These read the cache when they are called; requests are sent when what they return is subscribed to.
  [[nodiscard]] Looked<IdTuple> sObjectAsIdTuple(std::string id, const Asking& asking);
  [[nodiscard]] Looked<NameTuple> sObjectAsNameTuple(std::string name, const Asking& asking);
  [[nodiscard]] Looked<OptionalSObject> sObjectForId(const std::string& id, const Asking& asking);
  [[nodiscard]] Looked<OptionalSObject> sObjectForName(const std::optional<std::string>& name,
                                                       const Asking& asking);
  [[nodiscard]] Publisher<OptionalSObject> sObjectOnServer(const std::string& name, const Asking& asking);
  [[nodiscard]] Publisher<OptionalSObject> listViewSObject(const std::string& id, const Asking& asking);
  [[nodiscard]] Publisher<std::optional<std::string>> listViewType(const std::string& id,
                                                                   const Asking& asking);
  [[nodiscard]] Publisher<std::vector<SObject>> fetchedSObjects();
  [[nodiscard]] Publisher<SObjectsResponse> fetchedList(const Fetching& fetching);
  /// Saves the list unless that of a later renewal has come.
  [[nodiscard]] Publisher<SObjects> sharedSObjects(const Fetching& fetching, bool mayBeCached = false);
  /// Saves the type unless a renewal has begun since the one of that number; always without a number.
  [[nodiscard]] Publisher<std::optional<std::string>> fetchedListViewType(
      const std::string& id, const Fetching& fetching, std::optional<std::uint64_t> renewal = std::nullopt);
  /// The decoded body. What goes wrong is logged as the service's error.
  template <class Response>
  [[nodiscard]] Publisher<Response> fetched(const CorvaneSDK::NetRequest& request, const Fetching& fetching);

  /// The object API name for a record id, as far as the cache knows it. Where equal requests are shared, it
  /// is `NotCached` when there is nothing to look into.
  [[nodiscard]] Result<std::optional<std::string>> name(const std::string& id, const Asking& asking);

  [[nodiscard]] Result<std::optional<std::string>> nameInList(const std::string& keyPrefix) const;
  void dropIfOlder(std::uint64_t drops, const Asking& asking) const;
  void dropOldSingles(const Fetching& fetching);

  void log(std::string_view text, std::initializer_list<std::string_view> parts = {}) const;
  static SObjectsDataServiceError mapped(const Error& error, const std::weak_ptr<SObjectsDataService>& weak);

  // Constant after construction.
  const std::shared_ptr<CorvaneSDK::Network> network_;
  const std::shared_ptr<DispatchQueue> queue_;
  const std::shared_ptr<CorvaneSDK::Logger> logger_;
  const std::unique_ptr<const SObjectsCache> cache_;

  // Synchronises itself.
  Cancellables subscriptions_;  // of the loads
  /// Whether rows of single items may come from an older list than the cached one.
  std::atomic<bool> areSinglesOld_ = false;
  const SharedRuns<SObjects> lists_;
  const SharedRuns<std::optional<std::string>> listViewTypes_;
  const std::shared_ptr<Renewals> renewals_;
};

/// The name that a row of that kind bears in its meta: "sObjects", "listView", ….
[[nodiscard]] VELLORA_EXPORT std::string_view rawValue(SObjectsDataService::CacheEntryType type);

}  // namespace vellora
