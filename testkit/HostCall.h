#pragma once

#include <string>

#include "vellora/Platform/Values/Export.h"

namespace vellora::testkit {

/// One call that the library made to its host.
struct VELLORA_EXPORT HostCall {
  enum class Operation {
    sendRequest,
    load,
    save,
    remove,
    openTable,
    createTable,
    // On a table.
    tableLoad,
    tableFetch,
    tablePurge,
    tableUpsert,
    log,
  };

  Operation operation;
  /// Of a request the relative URL; of a blob or table its key, behind which stand the pairs that a table's
  /// rows have or must have, such as " cacheEntryType=theme name=Account"; of a log line its text.
  std::string subject;

  /// Such as "GET /services/data/v50.0/theme", "save ops.theme.fetch.timestamp", "table upsert Themes
  /// kind=list" or "log fetchedThemes()".
  [[nodiscard]] std::string description() const;

  friend bool operator==(const HostCall&, const HostCall&) = default;
};

}  // namespace vellora::testkit
