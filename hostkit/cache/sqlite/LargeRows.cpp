#include "hostkit/cache/sqlite/LargeRows.h"

#include <algorithm>
#include <utility>

namespace vellora::hostkit {

std::shared_ptr<const StoredRow> LargeRows::find(const Identity& identity) {
  const auto found =
      std::find_if(rows_.begin(), rows_.end(), [&](const Kept& kept) { return kept.identity == identity; });
  if (found == rows_.end()) return nullptr;
  std::rotate(found, found + 1, rows_.end());
  return rows_.back().row;
}

void LargeRows::keep(const Identity& identity, std::shared_ptr<const StoredRow> row) {
  forget(identity.sequence);
  if (row->data.size() > capacity_) return;
  while (size_ + row->data.size() > capacity_) forget(rows_.front().identity.sequence);
  size_ += row->data.size();
  rows_.push_back({identity, std::move(row)});
}

void LargeRows::forget(std::int64_t sequence) {
  const auto found = std::find_if(rows_.begin(), rows_.end(),
                                  [&](const Kept& kept) { return kept.identity.sequence == sequence; });
  if (found == rows_.end()) return;
  size_ -= found->row->data.size();
  rows_.erase(found);
}

void LargeRows::forgetAll() {
  rows_ = {};
  size_ = 0;
}

}  // namespace vellora::hostkit
