#pragma once

#include <string_view>

namespace vellora::conformance {

/// One thing that the contract demands of a host, and how it is tried.
template <class Host>
struct Guarantee {
  std::string_view name;      ///< a fact, such as "AnEmptyBlobIsPresent"; the name of its test
  void (*check)(Host& host);  ///< tells the running test, through GoogleTest, what does not hold
};

}  // namespace vellora::conformance
