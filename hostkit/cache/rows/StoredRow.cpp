#include "hostkit/cache/rows/StoredRow.h"

#include <algorithm>
#include <cstddef>
#include <span>

namespace vellora::hostkit {

namespace {

StoredRows slice(const StoredRows& rows, const CorvaneSDK::PositionRange& range) {
  const auto count = static_cast<std::int64_t>(rows.size());
  const std::int64_t lower = std::clamp<std::int64_t>(range.lower, 0, count);
  const std::int64_t upper = std::clamp<std::int64_t>(range.upper, lower, count);
  const auto selected =
      std::span(rows).subspan(static_cast<std::size_t>(lower), static_cast<std::size_t>(upper - lower));
  return {selected.begin(), selected.end()};
}

}  // namespace

bool selectsNothing(const CorvaneSDK::Query& query) {
  const auto& range = query.oldestRange();
  return range && (range->lower >= range->upper || range->upper <= 0);
}

StoredRows selectedRows(StoredRows candidates, const CorvaneSDK::Query& query) {
  if (const auto& filter = query.filter()) {
    std::erase_if(candidates, [&filter](const auto& stored) { return !(*filter)(stored->row); });
  }
  if (query.oldestRange()) return slice(candidates, *query.oldestRange());
  std::reverse(candidates.begin(), candidates.end());
  return candidates;
}

const CorvaneSDK::Meta* indexablePairs(const CorvaneSDK::RowFilter& filter) {
  const CorvaneSDK::Meta* pairs = filter.metaPairs();
  return pairs != nullptr && !pairs->empty() ? pairs : nullptr;
}

bool holdsPairs(const CorvaneSDK::Meta& meta, const CorvaneSDK::Meta& pairs) {
  return std::includes(meta.begin(), meta.end(), pairs.begin(), pairs.end());
}

}  // namespace vellora::hostkit
