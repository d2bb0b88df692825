#pragma once

#include <string_view>

namespace vellora::conformance {

/// One thing that the contract demands of a host, and how it is tried.
///
/// `registerCacheConformance` and its like make a test of each. Take the list of them, such as
/// `cacheGuarantees()`, to try some of them, or to learn which ones a host breaks.
///
/// Ownership: a constant of the suite; refers to nothing else.
template <class Host>
struct Guarantee {
  /// A fact, such as "AnEmptyBlobIsPresent"; the name of its test.
  std::string_view name;

  /// Tries it on a host of which nothing else was tried, and tells the running test, through GoogleTest, what
  /// does not hold.
  void (*check)(Host& host);
};

}  // namespace vellora::conformance
