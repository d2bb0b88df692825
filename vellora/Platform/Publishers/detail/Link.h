#pragma once

#include <memory>
#include <mutex>
#include <new>
#include <utility>

#include "vellora/Platform/Publishers/Observer.h"
#include "vellora/Platform/Publishers/SubscriptionScope.h"
#include "vellora/Platform/Values/OutOfMemory.h"

namespace vellora::detail {

/// What a waiting producer holds of its consumer. Cancelling empties it: the producer may wait on for hours,
/// but the consumer is let go of at once.
///
/// Ownership: the producer owns the link and the link owns the consumer. The scope knows the link only
/// weakly.
///
/// Threads: safe to use from several threads at once. The consumer is called with no lock held.
///
/// Errors: whatever enters a running pipeline comes through a link: from a queue, from a host's thread, or
/// from a setter. None of these could do anything about a step that gets no memory. So `std::bad_alloc` goes
/// no further than the link, which fails the pipeline behind it with `OutOfMemory`.
template <class T>
class Link {
 public:
  /// Makes a link that the end of `scope` empties.
  [[nodiscard]] static std::shared_ptr<Link> make(std::shared_ptr<Observer<T>> observer,
                                                  const SubscriptionScope& scope) {
    auto link = std::make_shared<Link>(std::move(observer), scope);
    link->registration_ = scope.add([weak = std::weak_ptr<Link>(link)] {
      if (const auto cut = weak.lock()) cut->take();
    });
    return link;
  }

  /// A link that nothing empties. Use `make`.
  Link(std::shared_ptr<Observer<T>> observer, SubscriptionScope scope)
      : observer_(std::move(observer)), scope_(std::move(scope)) {}
  ~Link() { scope_.remove(registration_); }
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;

  /// Passes a value on, unless the link is empty.
  void receive(T value) {
    const auto observer = get();
    if (!observer) return;
    try {
      observer->receive(std::move(value));
    } catch (const std::bad_alloc&) {
      complete(outOfMemory());
    }
  }

  /// Passes the end on and lets go of the observer.
  void complete(Completion completion) {
    const auto observer = take();
    if (!observer) return;
    try {
      observer->complete(std::move(completion));
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): nobody is left to be told
    }
  }

 private:
  /// The consumer, or null when the link is empty. What is returned lives on while a call to it runs.
  [[nodiscard]] std::shared_ptr<Observer<T>> get() const {
    const std::lock_guard lock(mutex_);
    return observer_;
  }

  /// Empties the link, and returns what was in it: the caller lets go of it, outside the lock.
  std::shared_ptr<Observer<T>> take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(observer_, nullptr);
  }

  mutable std::mutex mutex_;
  std::shared_ptr<Observer<T>> observer_;
  const SubscriptionScope scope_;
  SubscriptionScope::Registration registration_ = 0;  // constant once `make` has returned
};

}  // namespace vellora::detail
