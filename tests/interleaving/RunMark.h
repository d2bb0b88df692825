#pragma once

#include <cstdint>
#include <utility>

#include "tests/interleaving/Run.h"

namespace vellora::tests::interleaving {

/// A part of what may outlive a run, and then begins anew: whom the run before had left inside, and what it
/// has shown, no longer counts.
class RunMark {
 public:
  /// Whether it is asked in `run` for the first time.
  [[nodiscard]] bool isNew(const Run& run) { return std::exchange(run_, run.number()) != run.number(); }

 private:
  std::uint64_t run_ = 0;
};

}  // namespace vellora::tests::interleaving
