#pragma once

#include <memory>
#include <utility>

#include "vellora/Platform/Publishers/SubscriptionScope.h"
#include "vellora/Platform/Publishers/detail/Box.h"
#include "vellora/Platform/Publishers/detail/Counted.h"
#include "vellora/Platform/Publishers/detail/Receiver.h"
#include "vellora/Platform/Publishers/detail/Source.h"
#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::detail {

/// Passes what it receives to a queue: one hop for each value and one for the end. A hop is one piece of work
/// on the queue. Subscribing and cancelling stay where they are.
///
/// Ownership: upstream owns this, and the hops own what is on its way. A hop does not hold the queue that it
/// waits on, or a queue that runs no more would keep itself alive.
///
/// Threads: the receiver is called by one thread at a time. Hops may run on several threads at once, on a
/// concurrent queue; they deliver one at a time all the same.
///
/// Errors: when the queue has no memory for a hop, the event is taken back and `std::bad_alloc` goes
/// upstream, to the link through which the event came.
class VELLORA_EXPORT Hops final : public Receiver {
 public:
  /// The source of `receive`: delivers on `queue` what `upstream` yields, which `boxing` keeps meanwhile. A
  /// link stands behind the hops, so that a cancellation cuts off what is still on its way.
  [[nodiscard]] static SourcePtr behind(SourcePtr upstream, std::shared_ptr<DispatchQueue> queue,
                                        Boxing boxing);

  void receive(void* value) override;
  void complete(Completion&& completion) override;

 private:
  class Transit;

  Hops(Handle<Receiver> to, const SubscriptionScope& scope, std::shared_ptr<DispatchQueue> queue,
       Boxing boxing);
  ~Hops() override;

  /// Submits the hop of the newest event, which is on its way already: the hop may run at once.
  void hop();

  const std::shared_ptr<Transit> transit_;
  const std::shared_ptr<DispatchQueue> queue_;
  const Boxing boxing_;
};

}  // namespace vellora::detail
