#include "vellora/Host/Query.h"

#include <algorithm>

namespace CorvaneSDK {

namespace {

bool holds(const Meta& meta, const Meta::value_type& pair) {
  const auto found = meta.find(pair.first);
  return found != meta.end() && found->second == pair.second;
}

}  // namespace

bool RowFilter::operator()(const Row& row) const {
  if (const auto* key = dataKey()) return row.dataKey == *key;
  if (const auto* pairs = metaPairs()) {
    return std::all_of(pairs->begin(), pairs->end(),
                       [&row](const auto& pair) { return holds(row.meta, pair); });
  }
  return std::get<Predicate>(condition_)(row);
}

RowFilter metaEquals(Meta pairs) {
  return RowFilter(RowFilter::Condition(std::move(pairs)));
}

RowFilter dataKeyEquals(std::string dataKey) {
  return RowFilter(RowFilter::Condition(std::move(dataKey)));
}

}  // namespace CorvaneSDK
