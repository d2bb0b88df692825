#pragma once

#include <memory>
#include <mutex>
#include <new>
#include <utility>

#include "vellora/Platform/Publishers/Observer.h"
#include "vellora/Platform/Publishers/SubscriptionScope.h"
#include "vellora/Platform/Publishers/detail/Link.h"
#include "vellora/Platform/Publishers/detail/Source.h"
#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Values/OutOfMemory.h"

namespace vellora::detail {

/// A subscription whose start waits for its turn on a queue. Once upstream has been started, this is its
/// observer and passes everything on as it comes, on whatever thread that is.
///
/// Ownership: the work on the queue owns this until it runs, then upstream does. The scope of the
/// subscription knows it only weakly.
///
/// Threads: the start and a cancellation may meet. Whoever takes the upstream first decides whether it is
/// started. Upstream has a scope of its own, which is ended on the queue, behind the start.
///
/// Errors: a start that gets no memory fails the subscription with `OutOfMemory`.
template <class T>
class QueuedStart final : public Observer<T> {
 public:
  /// The source of `subscribe`: starts `upstream` on `queue`, and cancels it there. The subscription itself
  /// is silenced at once, by its link.
  [[nodiscard]] static SourcePtr<T> of(SourcePtr<T> upstream, std::shared_ptr<DispatchQueue> queue) {
    return source<T>([upstream = std::move(upstream), queue = std::move(queue)](
                         auto to, const SubscriptionScope& scope, Use use) mutable {
      auto link = Link<T>::make(std::move(to), scope);
      const auto start = std::make_shared<QueuedStart>(taken(upstream, use), std::move(link), scope);
      start->registration_ = scope.add([weak = std::weak_ptr<QueuedStart>(start), queue] {
        if (const auto cancelled = weak.lock()) cancelled->cancel(*queue);
      });
      queue->async([start] { begin(start); });
    });
  }

  QueuedStart(SourcePtr<T> upstream, std::shared_ptr<Link<T>> to, SubscriptionScope scope)
      : link_(std::move(to)), scope_(std::move(scope)), upstream_(std::move(upstream)) {}
  // So that a scope that lives long does not collect the marks of subscriptions that have ended.
  ~QueuedStart() override { scope_.remove(registration_); }
  QueuedStart(const QueuedStart&) = delete;
  QueuedStart& operator=(const QueuedStart&) = delete;

  void receive(T value) override { link_->receive(std::move(value)); }
  void complete(Completion completion) override { link_->complete(std::move(completion)); }

 private:
  /// Starts upstream, unless it has been cancelled before its turn.
  static void begin(const std::shared_ptr<QueuedStart>& self) {
    auto upstream = self->takeUpstream();
    if (!upstream) return;
    try {
      detail::start<T>(std::move(upstream), self, self->own_);
    } catch (const std::bad_alloc&) {
      self->own_.end();
      self->link_->complete(outOfMemory());
    }
  }

  /// Takes upstream away from a start that has not run, and ends, on the queue, what a start has begun.
  void cancel(DispatchQueue& queue) {
    takeUpstream();
    try {
      queue.async([own = own_] { own.end(); });
    } catch (const std::bad_alloc&) {
      own_.end();  // here, rather than not at all
    }
  }

  SourcePtr<T> takeUpstream() {
    const std::lock_guard lock(mutex_);
    return std::exchange(upstream_, nullptr);
  }

  const std::shared_ptr<Link<T>> link_;
  const SubscriptionScope scope_;
  const SubscriptionScope own_;                       // the lifetime of upstream
  SubscriptionScope::Registration registration_ = 0;  // constant once the queue has the start
  std::mutex mutex_;
  SourcePtr<T> upstream_;  // null once it has been started or cancelled
};

}  // namespace vellora::detail
