#pragma once

#include <cstddef>

namespace vellora::tests {

/// Counts what the whole program takes from `operator new`, on every thread, from this object's construction
/// on. C libraries, which call `malloc`, are not counted. A program that links `vellora_allocation_counter`
/// has its `operator new` replaced; the sanitizers still see each block, since it comes from `malloc`.
///
/// Threads: safe to use from several at once; work that other threads do meanwhile is counted too.
class AllocationCounter {
 public:
  AllocationCounter();

  /// How often memory was taken so far.
  [[nodiscard]] std::size_t allocations() const;

  /// How many bytes were asked for, given back or not.
  [[nodiscard]] std::size_t bytes() const;

 private:
  const std::size_t allocationsBefore_;
  const std::size_t bytesBefore_;
};

}  // namespace vellora::tests
