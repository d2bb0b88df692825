#include "vellora/Platform/Publishers/detail/QueuedStart.h"

#include <mutex>
#include <new>
#include <utility>

#include "vellora/Platform/Publishers/SubscriptionScope.h"
#include "vellora/Platform/Publishers/detail/Link.h"
#include "vellora/Platform/Values/OutOfMemory.h"

namespace vellora::detail {

namespace {

/// A subscription whose start waits for its turn on a queue.
///
/// Ownership: the work on the queue owns this until it runs, then upstream does. The scope of the
/// subscription knows it only weakly.
///
/// Threads: the start and a cancellation may meet. Whoever takes the upstream first decides whether it is
/// started. Upstream has a scope of its own, which is ended on the queue, behind the start.
///
/// Errors: a start that gets no memory fails the subscription with `OutOfMemory`.
class QueuedStart {
 public:
  static void submit(SourcePtr upstream, Handle<Receiver> to, const SubscriptionScope& scope,
                     const std::shared_ptr<DispatchQueue>& queue) {
    auto link = Link::make(std::move(to), scope);
    const auto start = std::make_shared<QueuedStart>(std::move(upstream), std::move(link), scope);
    start->registration_ = scope.add([weak = std::weak_ptr<QueuedStart>(start), queue] {
      if (const auto cancelled = weak.lock()) cancelled->cancel(*queue);
    });
    queue->async([start] { begin(start); });
  }

  QueuedStart(SourcePtr upstream, std::shared_ptr<Link> to, SubscriptionScope scope)
      : link_(std::move(to)), scope_(std::move(scope)), upstream_(std::move(upstream)) {}
  // So that a scope that lives long does not collect the marks of subscriptions that have ended.
  ~QueuedStart() { scope_.remove(registration_); }
  QueuedStart(const QueuedStart&) = delete;
  QueuedStart& operator=(const QueuedStart&) = delete;

 private:
  /// Passes everything on as it comes, on whatever thread that is.
  class Started final : public Receiver {
   public:
    explicit Started(std::shared_ptr<QueuedStart> start) : start_(std::move(start)) {}
    void receive(void* value) override { start_->link_->receive(value); }
    void complete(Completion&& completion) override { start_->link_->complete(std::move(completion)); }

   private:
    const std::shared_ptr<QueuedStart> start_;
  };

  /// Starts upstream, unless it has been cancelled before its turn.
  static void begin(const std::shared_ptr<QueuedStart>& self) {
    auto upstream = self->takeUpstream();
    if (!upstream) return;
    try {
      start(std::move(upstream), Handle<Started>(new Started(self)), self->own_);
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

  SourcePtr takeUpstream() {
    const std::lock_guard lock(mutex_);
    return std::move(upstream_);
  }

  const std::shared_ptr<Link> link_;
  const SubscriptionScope scope_;
  const SubscriptionScope own_;                       // the lifetime of upstream
  SubscriptionScope::Registration registration_ = 0;  // constant once the queue has the start
  std::mutex mutex_;
  SourcePtr upstream_;  // none once it has been started or cancelled
};

}  // namespace

SourcePtr startedOn(SourcePtr upstream, std::shared_ptr<DispatchQueue> queue) {
  return recipe([upstream = std::move(upstream), queue = std::move(queue)](
                    Handle<Receiver> to, const SubscriptionScope& scope, Use use) mutable {
    QueuedStart::submit(taken(upstream, use), std::move(to), scope, queue);
  });
}

}  // namespace vellora::detail
