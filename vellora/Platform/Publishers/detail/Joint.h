#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <utility>

#include "vellora/Platform/Publishers/Observer.h"
#include "vellora/Platform/Publishers/SerialGate.h"
#include "vellora/Platform/Publishers/SubscriptionScope.h"
#include "vellora/Platform/Publishers/detail/Source.h"
#include "vellora/Platform/Publishers/detail/Step.h"
#include "vellora/Platform/Values/OutOfMemory.h"

namespace vellora::detail {

/// Where several producers come together. Whatever threads they yield on, their events pass one at a time.
/// The joint ends when all of them have ended, or with the first failure; then it passes nothing more on.
///
/// It is the observer of every producer whose values pass as they are. A producer whose values don't has an
/// observer of its own, which calls `run` and `yield`.
///
/// Ownership: each producer owns the joint, and the joint owns what is downstream. A producer must hold it
/// until its call returns, since a call also runs the events that other threads leave meanwhile.
///
/// Threads: safe to use from several threads at once. An event runs on the thread that brings it, or on the
/// one that is running others at that moment. Nobody waits, and no lock is held.
///
/// Errors: an event that gets no memory fails the joint with `OutOfMemory`.
template <class U>
class Joint : public Observer<U> {
 public:
  /// The source of `flatMap`: starts a producer for each value of `upstream`, the one that `transform`
  /// returns, and joins them all. Upstream counts as one that is running, so that the joint does not end
  /// before it.
  template <class T, class F>
  [[nodiscard]] static SourcePtr<U> merging(SourcePtr<T> upstream, F transform) {
    return source<U>([upstream = std::move(upstream), transform = std::move(transform)](
                         auto to, const SubscriptionScope& scope, Use use) mutable {
      const auto joint = std::make_shared<Joint>(std::move(to), scope.child(), 1);
      auto onValue = [transform = taken(transform, use)](const auto& merged, T&& value) mutable {
        if (!merged->scope_.isActive()) return;
        merged->run([all = merged.get()] { ++all->running_; });
        start<U>(transform(std::move(value)).takeSource(), merged, merged->scope_);
      };
      auto onEnd = [](const auto& merged, Completion&& completion) {
        merged->complete(std::move(completion));
      };
      start<T>(taken(upstream, use),
               step<T>(std::shared_ptr<Joint>(joint), std::move(onValue), std::move(onEnd)), joint->scope_);
    });
  }

  /// The joint of `running` producers that are about to start. `scope` is the lifetime of all of them.
  Joint(std::shared_ptr<Observer<U>> downstream, SubscriptionScope scope, std::size_t running)
      : scope_(std::move(scope)), downstream_(std::move(downstream)), running_(running) {}

  /// The lifetime of all producers in front. The end of the joint ends it, and so cancels those that still
  /// run.
  [[nodiscard]] const SubscriptionScope& scope() const { return scope_; }

  /// Passes a value on, behind the events before it.
  void receive(U value) override {
    run([this, value = std::move(value)]() mutable { yield(std::move(value)); });
  }

  /// Counts a producer as ended. The last end of all, or an error, is the end of the joint.
  void complete(Completion completion) override {
    run([this, completion = std::move(completion)]() mutable {
      if (completion || --running_ == 0) finish(std::move(completion));
    });
  }

  /// Runs `event` behind the events before it, or not at all when the joint has ended by then.
  template <class F>
  void run(F event) {
    gate_.run([this, event = std::move(event)]() mutable {
      if (ended_ || !scope_.isActive()) return;
      try {
        event();
      } catch (const std::bad_alloc&) {
        finish(outOfMemory());
      }
    });
  }

  /// Passes a value on. Call it inside an event only.
  void yield(U value) { downstream_->receive(std::move(value)); }

 private:
  /// Ends the joint and everything in front of it, then passes the end on. Inside an event only.
  void finish(Completion completion) {
    if (ended_ || !scope_.isActive()) return;  // the consumer of the last value cancelled
    ended_ = true;
    scope_.end();
    try {
      downstream_->complete(std::move(completion));
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): nobody is left to be told
    }
  }

  SerialGate gate_;
  const SubscriptionScope scope_;
  const std::shared_ptr<Observer<U>> downstream_;
  std::size_t running_;  // this and the next: inside events only
  bool ended_ = false;
};

}  // namespace vellora::detail
