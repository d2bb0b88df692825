#pragma once

#include <cstddef>

namespace vellora::tests {

/// Makes one allocation of SQLite or libcurl fail, or one and all that follow it, on whatever thread it
/// comes. A program that links `vellora_c_allocation_failure` has both take their memory through this. One at
/// a time.
class CAllocationFailure {
 public:
  enum class Extent { one, allFromThereOn };

  /// The `number`th allocation from now on, counted from 1.
  CAllocationFailure(std::size_t number, Extent extent);
  ~CAllocationFailure();
  CAllocationFailure(const CAllocationFailure&) = delete;
  CAllocationFailure& operator=(const CAllocationFailure&) = delete;

  [[nodiscard]] bool happened() const;

  /// How many blocks the two libraries hold right now.
  [[nodiscard]] static std::size_t liveBlocks();
};

}  // namespace vellora::tests
