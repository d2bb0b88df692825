#include "tests/support/AllocationCounter.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace vellora::tests {

namespace {

std::atomic<std::size_t> allocationsSoFar;
std::atomic<std::size_t> bytesSoFar;

void count(std::size_t size) {
  allocationsSoFar.fetch_add(1, std::memory_order_relaxed);
  bytesSoFar.fetch_add(size, std::memory_order_relaxed);
}

void* allocated(std::size_t size) {
  count(size);
  if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}

void* allocated(std::size_t size, std::align_val_t alignment) {
  count(size);
  const auto boundary = static_cast<std::size_t>(alignment);
  const std::size_t whole = (size + boundary - 1) / boundary * boundary;
  if (void* memory = std::aligned_alloc(boundary, whole == 0 ? boundary : whole)) return memory;
  throw std::bad_alloc();
}

}  // namespace

AllocationCounter::AllocationCounter()
    : allocationsBefore_(allocationsSoFar.load(std::memory_order_relaxed)),
      bytesBefore_(bytesSoFar.load(std::memory_order_relaxed)) {}

std::size_t AllocationCounter::allocations() const {
  return allocationsSoFar.load(std::memory_order_relaxed) - allocationsBefore_;
}

std::size_t AllocationCounter::bytes() const {
  return bytesSoFar.load(std::memory_order_relaxed) - bytesBefore_;
}

}  // namespace vellora::tests

// The other forms (arrays, nothrow) call these.

void* operator new(std::size_t size) {
  return vellora::tests::allocated(size);
}

void* operator new(std::size_t size, std::align_val_t alignment) {
  return vellora::tests::allocated(size, alignment);
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::align_val_t) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
  std::free(memory);
}
