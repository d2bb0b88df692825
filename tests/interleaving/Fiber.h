#pragma once

#include <ucontext.h>

#include <cstddef>
#include <functional>
#include <memory>

namespace vellora::tests::interleaving {

/// A stack of its own, on which work runs until it hands over to another fiber. All fibers share one thread.
///
/// Ownership: owns the stack. Destroying a fiber forgets what was under way on it.
class Fiber {
 public:
  /// The fiber of the stack that the thread has anyway.
  Fiber();
  /// One that begins with `main`, which must not return, when it is first handed over to.
  explicit Fiber(std::function<void()> main);
  ~Fiber();
  Fiber(const Fiber&) = delete;
  Fiber& operator=(const Fiber&) = delete;

  /// Goes on where `other` stands. Returns when somebody hands over to this one, which is the running one.
  void handOverTo(Fiber& other);

 private:
  static constexpr std::size_t stackSize = std::size_t{256} << 10U;

  static void begin();
  void arrive();

  const std::function<void()> main_;
  const std::unique_ptr<std::byte[]> stack_;  // NOLINT(modernize-avoid-c-arrays): of a size known late
  ucontext_t context_{};
  // For AddressSanitizer and ThreadSanitizer, which follow the change of stacks.
  [[maybe_unused]] const void* stackBottom_ = nullptr;
  [[maybe_unused]] std::size_t stackBytes_ = 0;
  [[maybe_unused]] void* fakeStack_ = nullptr;
  [[maybe_unused]] void* sanitizersFiber_ = nullptr;
};

}  // namespace vellora::tests::interleaving
