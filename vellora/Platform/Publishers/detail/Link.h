#pragma once

#include <memory>
#include <mutex>

#include "vellora/Platform/Publishers/Completion.h"
#include "vellora/Platform/Publishers/SubscriptionScope.h"
#include "vellora/Platform/Publishers/detail/Counted.h"
#include "vellora/Platform/Publishers/detail/Receiver.h"
#include "vellora/Platform/Values/Export.h"

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
class VELLORA_EXPORT Link {
 public:
  /// Makes a link that the end of `scope` empties.
  [[nodiscard]] static std::shared_ptr<Link> make(Handle<Receiver> receiver, const SubscriptionScope& scope);

  /// A link that nothing empties. Use `make`.
  Link(Handle<Receiver> receiver, SubscriptionScope scope);
  ~Link();
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;

  /// Passes a value on, unless the link is empty. `value` points to one of the pipeline's type, which may be
  /// moved from.
  void receive(void* value);

  /// Passes the end on and lets go of the receiver.
  void complete(Completion completion);

 private:
  /// The consumer, or none when the link is empty. What is returned lives on while a call to it runs.
  [[nodiscard]] Handle<Receiver> get() const;

  /// Empties the link, and returns what was in it: the caller lets go of it, outside the lock.
  Handle<Receiver> take();

  mutable std::mutex mutex_;
  Handle<Receiver> receiver_;
  const SubscriptionScope scope_;
  SubscriptionScope::Registration registration_ = 0;  // constant once `make` has returned
};

}  // namespace vellora::detail
