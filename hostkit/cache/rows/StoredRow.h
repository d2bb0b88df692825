#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "vellora/Host/Query.h"
#include "vellora/Host/Row.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::hostkit {

/// A row as the caches keep it. Never changed once stored: a row written again is a new one.
struct StoredRow {
  CorvaneSDK::Row row;
  Data data;
  Date written;
  std::int64_t sequence = 0;  ///< grows with every write to the cache; never used twice
};

/// Shared, so that a caller's predicate can be asked about rows while no lock is held.
using StoredRows = std::vector<std::shared_ptr<const StoredRow>>;

/// True when `query` selects nothing, whatever the table holds.
[[nodiscard]] bool selectsNothing(const CorvaneSDK::Query& query);

/// The rows of `candidates`, which stand oldest first, that `query` selects: newest first for an exact query,
/// oldest first else. Calls the query's predicate, so hold no lock.
[[nodiscard]] StoredRows selectedRows(StoredRows candidates, const CorvaneSDK::Query& query);

/// The pairs of `filter` when it only compares meta values, else null; also null when there are no pairs to
/// compare, since every row then matches and an index is of no use.
[[nodiscard]] const CorvaneSDK::Meta* indexablePairs(const CorvaneSDK::RowFilter& filter);

/// True when `meta` holds every one of `pairs`.
[[nodiscard]] bool holdsPairs(const CorvaneSDK::Meta& meta, const CorvaneSDK::Meta& pairs);

}  // namespace vellora::hostkit
