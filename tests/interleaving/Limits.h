#pragma once

#include <limits>

namespace vellora::tests::interleaving {

/// How far the runs of a scenario go.
struct Limits {
  static constexpr int none = std::numeric_limits<int>::max();

  int preemptions = none;  ///< how often a thread that could go on makes way for another, in one run
  int staleReads = 0;      ///< how often an atomic is read as it was before its last store, in one run
};

}  // namespace vellora::tests::interleaving
