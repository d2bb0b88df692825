#include "vellora/Host/Query.h"

#include <algorithm>

namespace CorvaneSDK {

RowFilter metaEquals(Meta pairs) {
  RowFilter filter([pairs](const Row& row) {
    return std::all_of(pairs.begin(), pairs.end(), [&row](const auto& pair) {
      const auto found = row.meta.find(pair.first);
      return found != row.meta.end() && found->second == pair.second;
    });
  });
  filter.metaPairs_ = std::move(pairs);
  return filter;
}

}  // namespace CorvaneSDK
