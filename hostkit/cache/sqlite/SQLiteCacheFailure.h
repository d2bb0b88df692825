#pragma once

#include <string>

#include "hostkit/cache/sqlite/SQLiteCacheError.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::hostkit {

/// A call of a `SQLiteCache` or of one of its tables that failed. The call itself says less: a read finds
/// nothing then, as it does for an absent key, and a write gives false.
///
///     options.observer = [](const SQLiteCacheFailure& failure) { report(failure.localizedDescription()); };
///
/// Ownership: a plain value; the observer may keep a copy.
struct VELLORA_EXPORT SQLiteCacheFailure {
  enum class Operation { reading, writing };

  Operation operation = Operation::reading;
  SQLiteCacheError error;

  /// For people: what could not be done, where, and why.
  [[nodiscard]] std::string localizedDescription() const;

  friend bool operator==(const SQLiteCacheFailure&, const SQLiteCacheFailure&) = default;
};

}  // namespace vellora::hostkit
