#pragma once

#include <cstddef>
#include <utility>

#include "vellora/Platform/Publishers/SerialGate.h"
#include "vellora/Platform/Publishers/SubscriptionScope.h"
#include "vellora/Platform/Publishers/detail/Box.h"
#include "vellora/Platform/Publishers/detail/Counted.h"
#include "vellora/Platform/Publishers/detail/Receiver.h"
#include "vellora/Platform/Values/Attempt.h"
#include "vellora/Platform/Values/Export.h"
#include "vellora/Platform/Values/OutOfMemory.h"

namespace vellora::detail {

/// Where several producers come together. Whatever threads they yield on, their events pass one at a time.
/// The joint ends when all of them have ended, or with the first failure; then it passes nothing more on.
///
/// It is the receiver of every producer whose values pass as they are. A producer whose values don't has a
/// receiver of its own, which calls `run` and `yield`.
///
/// Ownership: each producer owns the joint, and the joint owns what is downstream. A producer must hold it
/// until its call returns, since a call also runs the events that other threads leave meanwhile.
///
/// Threads: safe to use from several threads at once. An event runs on the thread that brings it, or on the
/// one that is running others at that moment. Nobody waits, and no lock is held.
///
/// Errors: an event that gets no memory fails the joint with `OutOfMemory`.
class VELLORA_EXPORT Joint : public Receiver {
 public:
  /// The joint of `running` producers that are about to start. `scope` is the lifetime of all of them.
  /// `boxing` keeps a value that another thread is to pass on.
  Joint(Handle<Receiver> downstream, SubscriptionScope scope, std::size_t running, Boxing boxing);

  /// The lifetime of all producers in front. The end of the joint ends it, and so cancels those that still
  /// run.
  [[nodiscard]] const SubscriptionScope& scope() const { return scope_; }

  /// Counts one more producer, which is about to start.
  void begin();

  /// Passes a value on, behind the events before it.
  void receive(void* value) override;

  /// Counts a producer as ended. The last end of all, or an error, is the end of the joint.
  void complete(Completion&& completion) override;

  /// Runs `event` behind the events before it, or not at all when the joint has ended by then.
  template <class F>
  void run(F event) {
    gate_.run([this, event = std::move(event)]() mutable { admit(event); });
  }

  /// Passes a value on. Call it inside an event only.
  void yield(void* value) { downstream_->receive(value); }

 protected:
  ~Joint() override;

 private:
  /// Runs `event`, which has its turn, unless the joint has ended.
  template <class F>
  void admit(F& event) {
    if (ended_ || !scope_.isActive()) return;
    if (!hadMemoryFor(event)) finish(outOfMemory());
  }

  /// Ends the joint and everything in front of it, then passes the end on. Inside an event only.
  void finish(Completion&& completion);

  SerialGate gate_;
  const SubscriptionScope scope_;
  const Handle<Receiver> downstream_;
  const Boxing boxing_;
  std::size_t running_;  // this and the next: inside events only
  bool ended_ = false;
};

}  // namespace vellora::detail
