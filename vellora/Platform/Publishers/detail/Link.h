#pragma once

#include <memory>
#include <mutex>
#include <new>
#include <utility>

#include "vellora/Platform/Publishers/Observer.h"
#include "vellora/Platform/Publishers/SubscriptionScope.h"
#include "vellora/Platform/Values/OutOfMemory.h"

namespace vellora::detail {

/// What a waiting producer holds of its consumer: a place that cancelling empties. The producer owns the
/// link, the scope knows it only weakly.
///
/// Whatever enters a running pipeline comes through a link, from a queue, a host's thread or a setter, none
/// of which could do anything about a step behind it that gets no memory. So that goes no further than here:
/// it is the end of what is behind.
///
/// Threads: safe to use from several threads at once; the observer is called with no lock held.
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

  Link(std::shared_ptr<Observer<T>> observer, SubscriptionScope scope)
      : observer_(std::move(observer)), scope_(std::move(scope)) {}
  ~Link() { scope_.remove(registration_); }
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;

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

  [[nodiscard]] std::shared_ptr<Observer<T>> get() const {
    const std::lock_guard lock(mutex_);
    return observer_;
  }

  std::shared_ptr<Observer<T>> take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(observer_, nullptr);
  }

 private:
  mutable std::mutex mutex_;
  std::shared_ptr<Observer<T>> observer_;
  const SubscriptionScope scope_;
  SubscriptionScope::Registration registration_ = 0;  // constant once `make` has returned
};

}  // namespace vellora::detail
