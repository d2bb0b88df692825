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
#include "vellora/DataServices/ReferenceTypeFields.h"
#include "vellora/DataServices/Requester.h"
#include "vellora/DataServices/SObjectsDataServiceError.h"
#include "vellora/DataServices/Source.h"
#include "vellora/Host/RequiredAPI.h"
#include "vellora/Models/ObjectQualifiedApiNameInfo.h"
#include "vellora/Platform/Publishers/CancellableSlot.h"
#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Publishers/SharedRuns.h"
#include "vellora/Platform/Values/Date.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

class ArrivedLayouts;
class DownloadOrder;
template <class Layout>
struct FetchedLayouts;
class LayoutNames;

/// Answers which headline fields the records of object types show. Serves what the cache holds, fetches the
/// rest in one request from "/services/data/v53.0/compactLayouts", and caches each layout in a blob of its
/// own, "OPS_CompactLayout_" followed by the object type.
///
/// A field that points to a record is of no use on a screen unless that record's name is shown. So after each
/// download a second request asks for the name fields of the object types pointed to, and such a field's
/// `apiName` is rewritten to the path of the name field: "OwnerId" becomes "Owner.Name". When that request
/// fails, the layouts are answered as they came and not cached, so that the next lookup tries again.
///
/// A cached layout that is older than the time-out counts as missing, and is served only when the download
/// fails. One that is dated in the future is not older: its age is taken as it is, not as a distance.
///
/// Ownership: make it with `std::make_shared`; pending answers hold it weakly.
///
/// Threads: safe to use from several threads at once; has no queue. The cache is read on the caller's thread;
/// when that answers everything, the completion runs inside the call, else on a thread on which the host's
/// network calls back.
///
/// Errors: `network` and `decoding`, beside what the cache held; `other` carrying `OutOfMemory` where there
/// is no memory for an answer.
///
/// Units: the time-out is in seconds.
class VELLORA_EXPORT CompactLayoutDataService
    : public std::enable_shared_from_this<CompactLayoutDataService> {
 public:
  struct Constants {
    static constexpr std::string_view keyPrefix = "OPS_CompactLayout_";  ///< of the blobs' keys
    static constexpr std::string_view namesKey =
        "OPS_CompactLayoutNames";                                 ///< of the blob that names cached layouts
    static constexpr std::string_view queryApiVersion = "v53.0";  ///< in the path of each request
  };

  using Completion = std::function<void(std::optional<std::vector<ObjectCompactLayoutInfo>> layouts,
                                        std::optional<SObjectsDataServiceError> error)>;

  /// Takes the host's facilities; does no work. `cacheTimeout` is the age in seconds beyond which a cached
  /// layout is expired.
  CompactLayoutDataService(const RequiredAPI& api, double cacheTimeout);

  /// Looks up the layouts of the object types `names`. The completion, if there is one, is called with the
  /// downloaded layouts followed by the cached ones that are young enough, these in the order of `names`;
  /// after a failed download with all cached ones, maybe none, and the error. A type that the server does not
  /// know has no layout in the list. The answer comes before anything is cached.
  ///
  /// It is called once, with two exceptions. It is not called when the service is released before the name
  /// fields have come; only a failed download is answered without it. And it is not called when the download
  /// of another lookup arrives between this one's download and its name fields: of two requests for name
  /// fields only the one sent last is waited for. Have one lookup at a time if every one must be answered.
  void compactLayoutForApiName(const std::vector<std::string>& names, Completion completion);

  /// A lookup by key, as `LayoutDataService::eachLayout` says. It asks for name fields in
  /// requests that no other lookup overtakes, and that are not longer than 8 kB.
  [[nodiscard]] Publisher<KeyResult<std::optional<DatedLayout<ObjectCompactLayoutInfo>>>> eachLayout(
      std::shared_ptr<const std::vector<std::string>> names, Source source,
      std::optional<Date> notBefore = std::nullopt, Fetching fetching = {});

  /// The layout of that type which `eachLayout` has downloaded, but not yielded, because its name fields have
  /// not come: as the server gave it.
  [[nodiscard]] std::optional<DatedLayout<ObjectCompactLayoutInfo>> arrived(const std::string& name) const;

  /// Removes the cached layouts of the object types `names`.
  void forget(const std::vector<std::string>& names) const;

  /// Removes all layouts that `eachLayout` has ever cached: it notes their types in a blob, which goes, too.
  /// The types of layouts that the cache does not delete stay noted.
  void forgetNoted() const;

  /// A producer of the name fields of object types, from "/services/data/v53.0/query". `entities` lists the
  /// types as a query does, in single quotes with commas between, and is sent as it stands. Each subscription
  /// sends a request; a failed one ends with the network's error, with `CompactLayoutDataServiceError`
  /// `network` when there is neither body nor error, or with a `DecodingError`. Without the service it never
  /// ends.
  [[nodiscard]] Publisher<ObjectQualifiedApiNameInfo> qualifiedApiNameAsPublisher(
      const std::string& entities);

 private:
  class Resolution;
  struct Downloading;

  using Downloaded = std::shared_ptr<const FetchedLayouts<ObjectCompactLayoutInfo>>;

  void getCompactLayoutFromNetwork(const std::vector<std::string>& names, Completion completion);
  void resolveReferenceFields(const std::shared_ptr<const Resolution>& resolution);
  [[nodiscard]] Publisher<Downloaded> resolved(const std::shared_ptr<const Resolution>& resolution,
                                               const Downloading& download, const Fetching& fetching);
  [[nodiscard]] Publisher<ObjectQualifiedApiNameInfo> sentForNameFields(const std::string& entities,
                                                                        const Fetching& fetching);
  [[nodiscard]] Publisher<ObjectQualifiedApiNameInfo> qualifiedApiNames(const std::vector<std::string>& types,
                                                                        const Fetching& fetching);
  [[nodiscard]] Publisher<Downloaded> downloadedLayouts(const std::vector<std::string>& names,
                                                        const Fetching& fetching);
  /// Dates them `asked`, or else now. Those of the types `overtaken` are left out.
  void save(const std::vector<ObjectCompactLayoutInfo>& layouts, std::optional<Date> asked = std::nullopt,
            const std::set<std::string>& overtaken = {});

  // Constant after construction.
  const std::shared_ptr<CorvaneSDK::Network> network_;
  const std::shared_ptr<CorvaneSDK::Cache> cache_;
  const std::shared_ptr<CorvaneSDK::Logger> logger_;
  const double cacheTimeout_;
  const std::shared_ptr<const LayoutNames> names_;

  // Synchronise themselves: downloads arrive on several threads at once.
  CancellableSlot qualifiedApiNamesCancellable_;
  const SharedRuns<Downloaded> downloads_;
  const std::shared_ptr<ArrivedLayouts> arrived_;
  const std::shared_ptr<DownloadOrder> order_;
};

}  // namespace vellora
