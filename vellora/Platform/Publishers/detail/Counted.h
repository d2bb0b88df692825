#pragma once

#include <atomic>
#include <cstddef>
#include <utility>

#include "vellora/Platform/Values/Export.h"

namespace vellora::detail {

/// An object that counts its handles and goes with the last one.
///
/// The parts of pipelines count for themselves, rather than by `std::shared_ptr`, so that one block of memory
/// holds a part and the closure behind it (`WithClosure`), without a class for each closure.
///
/// Threads: handles may be copied and dropped on several threads at once. What a thread did before it dropped
/// its handle comes before what the one does who is left.
class VELLORA_EXPORT Counted {
 public:
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;

  void retain() const noexcept { handles_.fetch_add(1, std::memory_order_relaxed); }
  void release() const noexcept {
    if (handles_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }

  /// Whether there is one handle only. Then nobody else can make another.
  [[nodiscard]] bool hasOneHandle() const noexcept { return handles_.load(std::memory_order_acquire) == 1; }

 protected:
  Counted() = default;
  virtual ~Counted();

 private:
  mutable std::atomic<std::size_t> handles_ = 0;
};

/// A handle to a `Counted` object, or to none.
template <class T>
class Handle {
 public:
  Handle() = default;
  explicit Handle(T* object) noexcept : object_(object) {
    if (object_) object_->retain();
  }
  template <class U>
  Handle(Handle<U> other) noexcept : object_(other.release()) {}  // NOLINT(google-explicit-constructor)
  Handle(const Handle& other) noexcept : Handle(other.object_) {}
  Handle(Handle&& other) noexcept : object_(other.release()) {}
  Handle& operator=(Handle other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~Handle() {
    if (object_) object_->release();
  }

  [[nodiscard]] T* get() const noexcept { return object_; }
  T& operator*() const noexcept { return *object_; }
  T* operator->() const noexcept { return object_; }
  explicit operator bool() const noexcept { return object_ != nullptr; }

  /// Leaves the object without counting down: whoever takes it counts for this handle.
  [[nodiscard]] T* release() noexcept { return std::exchange(object_, nullptr); }

 private:
  T* object_ = nullptr;
};

}  // namespace vellora::detail
