#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "vellora/Models/ObjectCompactLayoutInfo.h"
#include "vellora/Models/ObjectLayoutInfo.h"
#include "vellora/Models/ObjectPresentationInfo.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// The lookups. Each returns at once; the answer comes through its completion.
///
///     service.objectPresentationInfoForApiNames({"Account"}, [](const auto& infos) {
///       const auto account = infos.find("Account");  // the end when nothing is known of such a type
///     });
///
/// Ownership: a lookup copies what it is given and keeps the completion until it has answered, or cannot
/// answer any more. A layout lookup that is pending answers even after the service was destroyed, and until
/// then so do the other lookups: a completion must not refer to what may be gone by then.
///
/// Threads: may be called from any thread, also from inside a completion. A completion runs on the thread
/// that delivered the last piece of the answer: a queue of the library, the host network's callback thread,
/// or the caller's own, inside the call, when a layout lookup was answered from the cache. Move to your own
/// queue if you need one.
///
/// Errors: none are passed on. What could not be found, or could not be asked for, is missing from the
/// dictionary; see each lookup for what a failure does.
class VELLORA_EXPORT ObjectPresentationServicing {
 public:
  using PresentationCompletion = std::function<void(std::map<std::string, ObjectPresentationInfo> infos)>;
  using LayoutCompletion =
      std::function<void(std::optional<std::map<std::string, ObjectLayoutInfo>> layouts)>;
  using CompactLayoutCompletion =
      std::function<void(std::optional<std::map<std::string, ObjectCompactLayoutInfo>> layouts)>;

  virtual ~ObjectPresentationServicing() = default;

  /// Presentation data for records, keyed by the ids asked for; for a list view's id also that of the type
  /// that it lists. Waits for the prefetch, and runs it again when a cache has expired or the last prefetch
  /// failed. It goes on at the first failure of a prefetch, with what is cached, be that expired or nothing.
  /// An id of unknown type has no entry.
  ///
  /// When a request of its own fails the completion is never called: don't wait for it without a time-out of
  /// your own. Such a request asks for the type that a list view lists, or for a list that is not cached.
  virtual void objectPresentationInfoForIds(const std::vector<std::string>& ids,
                                            PresentationCompletion completion) = 0;

  /// Presentation data for object types, keyed by the API names asked for. Doesn't wait for the prefetch:
  /// what is not cached is fetched, and what is cached is taken however old. Always answers; when a request
  /// fails with an empty dictionary, also where some of the names were cached.
  virtual void objectPresentationInfoForApiNames(const std::vector<std::string>& apiNames,
                                                 PresentationCompletion completion) = 0;

  /// The columns that search results of object types show, keyed by the types' names as the server writes
  /// them. From the cache, else from "/services/data/v50.0/search/layout". What has expired is answered once
  /// more, and fetched by the lookup after that. After a failure what was cached. No value only where memory
  /// ran out. Neither waits for nor starts a prefetch.
  virtual void objectLayoutInfoForApiNames(const std::vector<std::string>& apiNames,
                                           LayoutCompletion completion) = 0;

  /// The headline fields of object types, keyed by the types' names as the server writes them. From the
  /// cache, else from "/services/data/v53.0/compactLayouts". After a failure what was cached, however old. No
  /// value only where memory ran out. Neither waits for nor starts a prefetch.
  ///
  /// One download at a time: when a second one is ready before the first one's reference fields are resolved,
  /// the first lookup is never answered.
  virtual void objectCompactLayoutInfoForApiNames(const std::vector<std::string>& apiNames,
                                                  CompactLayoutCompletion completion) = 0;

 protected:
  ObjectPresentationServicing() = default;
  ObjectPresentationServicing(const ObjectPresentationServicing&) = default;
  ObjectPresentationServicing& operator=(const ObjectPresentationServicing&) = default;
};

}  // namespace vellora
