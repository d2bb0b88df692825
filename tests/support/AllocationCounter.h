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

/// What the whole program holds of `operator new` right now.
struct LiveMemory {
  std::size_t blocks = 0;
  std::size_t bytes = 0;  ///< as the heap rounds them up

  [[nodiscard]] static LiveMemory now();
};

/// Makes one allocation of this thread fail with `std::bad_alloc`, or one and all that follow it. One at a
/// time on each thread.
class AllocationFailure {
 public:
  enum class Extent { one, allFromThereOn };

  /// The `number`th allocation from now on, counted from 1.
  explicit AllocationFailure(std::size_t number, Extent extent = Extent::one);
  ~AllocationFailure();
  AllocationFailure(const AllocationFailure&) = delete;
  AllocationFailure& operator=(const AllocationFailure&) = delete;

  [[nodiscard]] bool happened() const;

  /// Allocations within its life neither fail nor count: those of a test's doubles.
  class Pause {
   public:
    Pause();
    ~Pause();
    Pause(const Pause&) = delete;
    Pause& operator=(const Pause&) = delete;
  };
};

}  // namespace vellora::tests
