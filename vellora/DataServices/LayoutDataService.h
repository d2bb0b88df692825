#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "vellora/DataServices/DatedLayout.h"
#include "vellora/DataServices/KeyResult.h"
#include "vellora/DataServices/Requester.h"
#include "vellora/DataServices/SObjectsDataServiceError.h"
#include "vellora/DataServices/Source.h"
#include "vellora/Host/RequiredAPI.h"
#include "vellora/Models/ObjectLayoutInfo.h"
#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Publishers/SharedRuns.h"
#include "vellora/Platform/Values/Date.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

class DownloadOrder;
template <class Layout>
struct FetchedLayouts;
class LayoutNames;

/// Answers which columns the search results of object types show. Serves what the cache holds, fetches the
/// rest in one request from "/services/data/v50.0/search/layout", and caches each layout in a blob of its
/// own, "OPS_Layout_" followed by the object type.
///
/// A cached layout that is older than the time-out is served once more and dropped by the same lookup, so
/// that a screen has something to show at once; only the next lookup goes to the server for it. One that is
/// dated in the future is not older than the time-out: its age is taken as it is, not as a distance.
///
///     const auto service = std::make_shared<LayoutDataService>(api, 3600);
///     service->layoutForApiName({"Account"}, [](const auto& layouts, const auto& error) {
///       // With an error, `layouts` holds what the cache had.
///     });
///
/// Ownership: make it with `std::make_shared`; pending answers hold it weakly, and go on without it: the
/// completion is called all the same, nothing is cached or logged any more.
///
/// Threads: safe to use from several threads at once; has no queue. The cache is read on the caller's thread;
/// when that answers everything, the completion runs inside the call, else on the thread on which the host's
/// network calls back.
///
/// Errors: `network` and `decoding`, beside what the cache held; `other` carrying `OutOfMemory` where there
/// is no memory for an answer.
///
/// Units: the time-out is in seconds.
class VELLORA_EXPORT LayoutDataService : public std::enable_shared_from_this<LayoutDataService> {
 public:
  struct Constants {
    static constexpr std::string_view keyPrefix = "OPS_Layout_";  ///< of the blobs' keys
    static constexpr std::string_view namesKey =
        "OPS_LayoutNames";                                        ///< of the blob that names cached layouts
    static constexpr std::string_view queryApiVersion = "v50.0";  ///< in the path of the request
  };

  using Completion = std::function<void(std::optional<std::vector<ObjectLayoutInfo>> layouts,
                                        std::optional<SObjectsDataServiceError> error)>;

  /// Takes the host's facilities; does no work. `cacheTimeout` is the age in seconds beyond which a cached
  /// layout is expired.
  LayoutDataService(const RequiredAPI& api, double cacheTimeout);

  /// Looks up the layouts of the object types `names`. The completion, if there is one, is called exactly
  /// once: with the downloaded layouts followed by the cached ones in the order of `names`; after a failure
  /// with the cached ones, maybe none, and the error. A type that the server does not know has no layout in
  /// the list.
  void layoutForApiName(const std::vector<std::string>& names, Completion completion);

  /// A lookup by key, as in `SObjectsDataService`: it yields what is known of each of `names`, in
  /// any order. The work is done where it is subscribed to, or where the network calls back; equal requests
  /// under way are shared, and none is longer than 8 kB. A type that the server does not know has an absent
  /// value; a name whose request failed has the cached layout and the reason, or else the error. An expired
  /// layout is served only then, or with `cacheOnly`; none is dropped. A layout that was asked for before
  /// `notBefore` is fetched again. What is downloaded is cached before it is yielded, or by a thread
  /// that holds the service: who has it may let the service go. Of two downloads of one layout the one that
  /// was asked for later stays in the cache.
  [[nodiscard]] Publisher<KeyResult<std::optional<DatedLayout<ObjectLayoutInfo>>>> eachLayout(
      std::shared_ptr<const std::vector<std::string>> names, Source source,
      std::optional<Date> notBefore = std::nullopt, Fetching fetching = {});

  /// Removes the cached layouts of the object types `names`.
  void forget(const std::vector<std::string>& names) const;

  /// Removes all layouts that `eachLayout` has ever cached: it notes their types in a blob, which goes, too.
  /// The types of layouts that the cache does not delete stay noted.
  void forgetNoted() const;

 private:
  using Downloaded = std::shared_ptr<const FetchedLayouts<ObjectLayoutInfo>>;

  [[nodiscard]] Publisher<Downloaded> downloadedLayouts(const std::vector<std::string>& names,
                                                        const Fetching& fetching);
  void getLayoutFromNetwork(const std::vector<std::string>& names, Completion completion);
  /// Dates them `asked`, or else now. Those of the types `overtaken` are left out.
  void save(const std::vector<ObjectLayoutInfo>& layouts, std::optional<Date> asked = std::nullopt,
            const std::set<std::string>& overtaken = {});

  // Constant after construction.
  const std::shared_ptr<CorvaneSDK::Network> network_;
  const std::shared_ptr<CorvaneSDK::Cache> cache_;
  const std::shared_ptr<CorvaneSDK::Logger> logger_;
  const double cacheTimeout_;
  const std::shared_ptr<const LayoutNames> names_;

  // Synchronises itself.
  const SharedRuns<Downloaded> downloads_;
  const std::shared_ptr<DownloadOrder> order_;
};

}  // namespace vellora
