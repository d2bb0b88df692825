#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "vellora/Catalog/Answer.h"
#include "vellora/Catalog/SessionReadiness.h"
#include "vellora/DataServices/ListState.h"
#include "vellora/DataServices/MetadataServices.h"
#include "vellora/DataServices/Requester.h"
#include "vellora/DataServices/Source.h"
#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Values/Error.h"

namespace vellora {

/// What a question finds in the cache once both lists were seen to.
struct PreparedLists {
  ListState types;
  ListState themes;
  std::optional<Error> typesFailure;   ///< of the fetch of object types, if there was one
  std::optional<Error> themesFailure;  ///< the same of themes
  // What was fetched, which the cache may not have kept; else null.
  SObjectsDataService::SObjects loadedTypes = {};
  ThemeDataService::Themes loadedThemes = {};

  /// The age of what is made of both lists: that of the older.
  [[nodiscard]] Age age() const;

  /// The source in which a question with the source `wanted` looks for object types, now that the lists are
  /// prepared.
  [[nodiscard]] Source typesSource(Source wanted) const;
  /// The same for themes.
  [[nodiscard]] Source themesSource(Source wanted) const;
};

/// Sees to it that both lists are cached and fresh before a question looks into them.
///
/// Ownership: shares the services.
///
/// Threads: safe to use from several threads at once.
class Lists {
 public:
  /// Sets `readiness` after each load.
  Lists(const MetadataServices& services, SessionReadiness readiness)
      : types_(services.sObjects), themes_(services.themes), readiness_(std::move(readiness)) {}

  /// Yields once: at once when there is nothing to fetch, else when what there is to fetch has come or
  /// failed. It never fails. With `serverFirst` both lists are fetched, with `cacheOnly` none; a fetch that
  /// is under way is joined.
  [[nodiscard]] Publisher<PreparedLists> prepared(Source source, const Fetching& fetching) const;

  /// The same as `serverFirst`, but what is fetched is asked for from now on: no fetch that is under way is
  /// joined.
  [[nodiscard]] Publisher<PreparedLists> renewed(const Fetching& fetching) const;

 private:
  enum class Joining { any, none };

  [[nodiscard]] Publisher<PreparedLists> loaded(Source source, const Fetching& fetching,
                                                Joining joining) const;

  // Constant after construction.
  const std::shared_ptr<SObjectsDataService> types_;
  const std::shared_ptr<ThemeDataService> themes_;

  // Synchronises itself.
  const SessionReadiness readiness_;
};

}  // namespace vellora
