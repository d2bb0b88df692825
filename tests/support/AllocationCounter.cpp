#include "tests/support/AllocationCounter.h"

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace vellora::tests {

namespace {

std::atomic<std::size_t> allocationsSoFar;
std::atomic<std::size_t> bytesSoFar;
std::atomic<std::size_t> liveBlocks;
std::atomic<std::size_t> liveBytes;

struct PlannedFailure {
  std::size_t left = 0;  // allocations until it happens; 0: none is planned
  bool lasts = false;
  bool happened = false;
  int pauses = 0;
};

thread_local PlannedFailure planned;

bool fails() {
  if (planned.left == 0 || planned.pauses > 0) return false;
  if (planned.left > 1) {
    --planned.left;
    return false;
  }
  planned.happened = true;
  if (!planned.lasts) planned.left = 0;
  return true;
}

void* live(void* memory) {
  if (memory == nullptr) return nullptr;
  liveBlocks.fetch_add(1, std::memory_order_relaxed);
  liveBytes.fetch_add(malloc_usable_size(memory), std::memory_order_relaxed);
  return memory;
}

void freed(void* memory) {
  if (memory == nullptr) return;
  liveBlocks.fetch_sub(1, std::memory_order_relaxed);
  liveBytes.fetch_sub(malloc_usable_size(memory), std::memory_order_relaxed);
  std::free(memory);
}

void count(std::size_t size) {
  allocationsSoFar.fetch_add(1, std::memory_order_relaxed);
  bytesSoFar.fetch_add(size, std::memory_order_relaxed);
}

void* allocatedOrNull(std::size_t size) {
  count(size);
  return fails() ? nullptr : live(std::malloc(size == 0 ? 1 : size));
}

void* allocatedOrNull(std::size_t size, std::align_val_t alignment) {
  count(size);
  const auto boundary = static_cast<std::size_t>(alignment);
  const std::size_t whole = (size + boundary - 1) / boundary * boundary;
  return fails() ? nullptr : live(std::aligned_alloc(boundary, whole == 0 ? boundary : whole));
}

template <class... Alignment>
void* allocated(std::size_t size, Alignment... alignment) {
  if (void* memory = allocatedOrNull(size, alignment...)) return memory;
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

LiveMemory LiveMemory::now() {
  return {liveBlocks.load(std::memory_order_relaxed), liveBytes.load(std::memory_order_relaxed)};
}

AllocationFailure::AllocationFailure(std::size_t number, Extent extent) {
  planned = {number, extent == Extent::allFromThereOn, false, 0};
}

AllocationFailure::~AllocationFailure() {
  planned = {};
}

bool AllocationFailure::happened() const {
  return planned.happened;
}

AllocationFailure::Pause::Pause() {
  ++planned.pauses;
}

AllocationFailure::Pause::~Pause() {
  --planned.pauses;
}

}  // namespace vellora::tests

// Every form, since those of a sanitizer, unlike the standard library's, don't call one another.

using std::align_val_t;
using std::nothrow_t;
using std::size_t;
using vellora::tests::allocated;
using vellora::tests::allocatedOrNull;
using vellora::tests::freed;

void* operator new(size_t size) {
  return allocated(size);
}
void* operator new[](size_t size) {
  return allocated(size);
}
void* operator new(size_t size, align_val_t alignment) {
  return allocated(size, alignment);
}
void* operator new[](size_t size, align_val_t alignment) {
  return allocated(size, alignment);
}
void* operator new(size_t size, const nothrow_t&) noexcept {
  return allocatedOrNull(size);
}
void* operator new[](size_t size, const nothrow_t&) noexcept {
  return allocatedOrNull(size);
}
void* operator new(size_t size, align_val_t alignment, const nothrow_t&) noexcept {
  return allocatedOrNull(size, alignment);
}
void* operator new[](size_t size, align_val_t alignment, const nothrow_t&) noexcept {
  return allocatedOrNull(size, alignment);
}

void operator delete(void* memory) noexcept {
  freed(memory);
}
void operator delete[](void* memory) noexcept {
  freed(memory);
}
void operator delete(void* memory, size_t) noexcept {
  freed(memory);
}
void operator delete[](void* memory, size_t) noexcept {
  freed(memory);
}
void operator delete(void* memory, align_val_t) noexcept {
  freed(memory);
}
void operator delete[](void* memory, align_val_t) noexcept {
  freed(memory);
}
void operator delete(void* memory, size_t, align_val_t) noexcept {
  freed(memory);
}
void operator delete[](void* memory, size_t, align_val_t) noexcept {
  freed(memory);
}
void operator delete(void* memory, const nothrow_t&) noexcept {
  freed(memory);
}
void operator delete[](void* memory, const nothrow_t&) noexcept {
  freed(memory);
}
void operator delete(void* memory, align_val_t, const nothrow_t&) noexcept {
  freed(memory);
}
void operator delete[](void* memory, align_val_t, const nothrow_t&) noexcept {
  freed(memory);
}
