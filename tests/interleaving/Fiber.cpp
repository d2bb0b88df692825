#include "tests/interleaving/Fiber.h"

#include <utility>

#if defined(__has_feature)  // clang is asked, g++ says it
#if __has_feature(address_sanitizer)
#define FIBERS_UNDER_ASAN
#elif __has_feature(thread_sanitizer)
#define FIBERS_UNDER_TSAN
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define FIBERS_UNDER_ASAN
#elif defined(__SANITIZE_THREAD__)
#define FIBERS_UNDER_TSAN
#endif

#ifdef FIBERS_UNDER_ASAN
#include <sanitizer/common_interface_defs.h>
#endif
#ifdef FIBERS_UNDER_TSAN
#include <sanitizer/tsan_interface.h>
#endif

namespace vellora::tests::interleaving {

namespace {

// Who hands over to whom, for the one that arrives.
Fiber* leaving = nullptr;
Fiber* arriving = nullptr;

}  // namespace

Fiber::Fiber() {
#ifdef FIBERS_UNDER_TSAN
  sanitizersFiber_ = __tsan_get_current_fiber();
#endif
}

Fiber::Fiber(std::function<void()> main)
    : main_(std::move(main)),
      stack_(std::make_unique_for_overwrite<std::byte[]>(stackSize)),  // NOLINT: see the header
      stackBottom_(stack_.get()),
      stackBytes_(stackSize) {
  getcontext(&context_);
  context_.uc_stack.ss_sp = stack_.get();
  context_.uc_stack.ss_size = stackSize;
  context_.uc_link = nullptr;
  makecontext(&context_, &Fiber::begin, 0);
#ifdef FIBERS_UNDER_TSAN
  sanitizersFiber_ = __tsan_create_fiber(0);
#endif
}

Fiber::~Fiber() {
#ifdef FIBERS_UNDER_TSAN
  if (stack_) __tsan_destroy_fiber(sanitizersFiber_);
#endif
}

void Fiber::begin() {
  arriving->arrive();
  arriving->main_();
}

void Fiber::handOverTo(Fiber& other) {
  leaving = this;
  arriving = &other;
#ifdef FIBERS_UNDER_ASAN
  __sanitizer_start_switch_fiber(&fakeStack_, other.stackBottom_, other.stackBytes_);
#endif
#ifdef FIBERS_UNDER_TSAN
  __tsan_switch_to_fiber(other.sanitizersFiber_, 0);
#endif
  swapcontext(&context_, &other.context_);
  arrive();
}

/// Where the stack of the thread is, only the sanitizer knows: it tells whoever comes from there.
void Fiber::arrive() {
#ifdef FIBERS_UNDER_ASAN
  __sanitizer_finish_switch_fiber(fakeStack_, &leaving->stackBottom_, &leaving->stackBytes_);
#endif
}

}  // namespace vellora::tests::interleaving
