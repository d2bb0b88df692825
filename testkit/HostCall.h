#pragma once

#include <string>

#include "vellora/Host/Row.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::testkit {

/// One call that the library made to its host, as a `HostFaults` records it.
///
/// Of a `tableUpsert` that writes a theme's row, `operation` is `tableUpsert`, `subject` is the table's key,
/// and `meta` is the row's: {"cacheEntryType": "theme", "name": "Account"}.
///
/// Ownership: a value; it refers to nothing of the call.
struct VELLORA_EXPORT HostCall {
  /// Which function of the host is called.
  enum class Operation {
    // Of `Network`.
    sendRequest,
    // Of `Cache`.
    load,
    save,
    remove,
    openTable,
    createTable,
    // Of `CacheTable`.
    tableLoad,
    tableFetch,
    tablePurge,
    tableUpsert,
    // Of `Logger`.
    log,
  };

  Operation operation;

  /// Of a request the relative URL, of a blob or a table its key, of a log line its text.
  std::string subject;

  /// On a table, the meta of the row that is written, or the pairs that the wanted rows must have. Empty when
  /// the rows are not selected by pairs.
  CorvaneSDK::Meta meta = {};

  /// True when a fault struck the call, or the creation of the table that it is made on.
  bool failed = false;

  /// The subject, and behind it the pairs, such as "Themes cacheEntryType=theme name=Account".
  [[nodiscard]] std::string target() const;

  /// The operation's name and the target, and " (failed)" behind them when `failed` is set. Such as
  /// "save ops.theme.fetch.timestamp", "tableUpsert Themes kind=list (failed)", "log fetchedThemes()" or, of
  /// a request, "GET /services/data/v50.0/theme".
  [[nodiscard]] std::string description() const;

  friend bool operator==(const HostCall&, const HostCall&) = default;
};

}  // namespace vellora::testkit
