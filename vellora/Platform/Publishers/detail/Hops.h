#pragma once

#include <deque>
#include <memory>
#include <mutex>
#include <new>
#include <utility>
#include <variant>

#include "vellora/Platform/Publishers/Observer.h"
#include "vellora/Platform/Publishers/SerialGate.h"
#include "vellora/Platform/Publishers/SubscriptionScope.h"
#include "vellora/Platform/Publishers/detail/Link.h"
#include "vellora/Platform/Publishers/detail/Source.h"
#include "vellora/Platform/Queues/DispatchQueue.h"

namespace vellora::detail {

/// Passes what it receives to a queue: one hop for each value and one for the end. A hop is one piece of work
/// on the queue. Subscribing and cancelling stay where they are.
///
/// Ownership: upstream owns this, and the hops own what is on its way. A hop does not hold the queue that it
/// waits on, or a queue that runs no more would keep itself alive.
///
/// Threads: the observer is called by one thread at a time. Hops may run on several threads at once, on a
/// concurrent queue; they deliver one at a time all the same.
///
/// Errors: when the queue has no memory for a hop, the event is taken back and `std::bad_alloc` goes
/// upstream, to the link through which the event came.
template <class T>
class Hops final : public Observer<T> {
 public:
  /// The source of `receive`: delivers on `queue` what `upstream` yields. A link stands behind the hops, so
  /// that a cancellation cuts off what is still on its way.
  [[nodiscard]] static SourcePtr<T> behind(SourcePtr<T> upstream, std::shared_ptr<DispatchQueue> queue) {
    return source<T>([upstream = std::move(upstream), queue = std::move(queue)](
                         auto to, const SubscriptionScope& scope, Use use) mutable {
      auto hops = std::make_shared<Hops>(Link<T>::make(std::move(to), scope), queue);
      start<T>(taken(upstream, use), std::move(hops), scope);
    });
  }

  Hops(std::shared_ptr<Link<T>> to, std::shared_ptr<DispatchQueue> queue)
      : transit_(std::make_shared<Transit>(std::move(to))), queue_(std::move(queue)) {}

  void receive(T value) override { hop(Event(std::in_place_index<0>, std::move(value))); }
  void complete(Completion completion) override { hop(Event(std::in_place_index<1>, std::move(completion))); }

 private:
  using Event = std::variant<T, Completion>;

  /// What is on its way. Each hop delivers the oldest event, whichever hop it is, so that the order holds on
  /// a concurrent queue too.
  struct Transit {
    explicit Transit(std::shared_ptr<Link<T>> to) : link(std::move(to)) {}

    /// Appends an event. Its hop has yet to be submitted.
    void add(Event event) {
      const std::lock_guard lock(mutex);
      events.push_back(std::move(event));
    }

    /// Removes the event that was added last, for which there is no hop.
    void takeBackNewest() {
      const std::lock_guard lock(mutex);
      events.pop_back();
    }

    /// What each hop does. As many hops run as there are events, so there is one to deliver.
    void deliverOldest() {
      gate.run([this] {
        std::unique_lock lock(mutex);
        Event event = std::move(events.front());
        events.pop_front();
        lock.unlock();
        if (event.index() == 0) {
          link->receive(std::move(*std::get_if<0>(&event)));
        } else {
          link->complete(std::move(*std::get_if<1>(&event)));
        }
      });
    }

    const std::shared_ptr<Link<T>> link;
    SerialGate gate;
    std::mutex mutex;
    std::deque<Event> events;
  };

  /// Adds `event` to what is on its way and submits its hop, in this order: the hop may run at once.
  void hop(Event event) {
    transit_->add(std::move(event));
    try {
      queue_->async([transit = transit_] { transit->deliverOldest(); });
    } catch (const std::bad_alloc&) {
      transit_->takeBackNewest();  // each event has its hop
      throw;
    }
  }

  const std::shared_ptr<Transit> transit_;
  const std::shared_ptr<DispatchQueue> queue_;
};

}  // namespace vellora::detail
