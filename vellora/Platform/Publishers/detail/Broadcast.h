#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "vellora/Platform/Publishers/SerialGate.h"
#include "vellora/Platform/Publishers/SubscriptionScope.h"
#include "vellora/Platform/Publishers/detail/Counted.h"
#include "vellora/Platform/Publishers/detail/Link.h"
#include "vellora/Platform/Publishers/detail/Receiver.h"
#include "vellora/Platform/Publishers/detail/Source.h"
#include "vellora/Platform/Values/Attempt.h"

namespace vellora::detail {

/// Delivers each value to everyone who subscribed before it was sent; never ends. If there is a current
/// value, a new subscriber gets that first, and then every value that is sent later.
///
/// Under the lock, a value is queued at each subscriber's gate. It is delivered after the lock has been
/// released. So all subscribers get the values in the same order, though nobody is called under the lock.
///
/// Ownership: it owns each subscriber until the subscriber's scope ends. The scope and the sources of its
/// streams refer to the broadcast only weakly. When it is destroyed, it releases its subscribers without a
/// completion.
///
/// Threads: safe to use from several threads at once. Each subscriber gets the values in the order in which
/// they were sent, one at a time, on the thread that sent them or on one that is delivering to the subscriber
/// already.
///
/// Errors: a subscriber for which there is no memory misses the value; the others get it.
template <class T>
class Broadcast final : public std::enable_shared_from_this<Broadcast<T>> {
 public:
  /// Without a `current` value it never remembers one, also not one that is sent later.
  explicit Broadcast(std::optional<T> current) : current_(std::move(current)) {}

  /// A copy of the value that was sent last, or given to the constructor. No value if none is remembered.
  [[nodiscard]] std::optional<T> current() const {
    const std::lock_guard lock(mutex_);
    return current_;
  }

  /// Stores `value`, if this remembers one, then delivers it.
  void send(const T& value) {
    std::vector<std::shared_ptr<Subscriber>> subscribers;
    {
      const std::lock_guard lock(mutex_);
      if (current_) current_ = value;
      if (!hadMemoryFor([&] { subscribers.reserve(subscribers_.size()); })) return;
      for (const auto& entry : subscribers_) {
        const auto& subscriber = entry.second;
        if (hadMemoryFor([&] { subscriber->enqueue(value); })) subscribers.push_back(subscriber);
      }
    }
    // A subscriber may destroy this: from here on only `subscribers` is used.
    for (const auto& subscriber : subscribers) subscriber->gate.drain();
  }

  /// The source of a stream, which subscribes. Once the broadcast is gone, a subscriber hears nothing.
  [[nodiscard]] SourcePtr stream() {
    return recipe([weak = this->weak_from_this()](Handle<Receiver> to, const SubscriptionScope& scope, Use) {
      if (const auto broadcast = weak.lock()) broadcast->subscribe(std::move(to), scope);
    });
  }

 private:
  /// Delivers the current value to `receiver`, if there is one, and then each that is sent.
  void subscribe(Handle<Receiver> receiver, const SubscriptionScope& scope) {
    const auto subscriber = std::make_shared<Subscriber>(Link::make(std::move(receiver), scope));
    std::uint64_t id = 0;
    {
      const std::lock_guard lock(mutex_);
      if (current_) subscriber->enqueue(*current_);
      id = nextId_++;
      subscribers_.emplace(id, subscriber);
    }
    runOrUndo(
        [&] {
          scope.add([weak = this->weak_from_this(), id] {
            if (const auto broadcast = weak.lock()) broadcast->forget(id);
          });
        },
        [&] { forget(id); });
    subscriber->gate.drain();
  }

  /// One subscriber and the values that wait for it.
  struct Subscriber {
    explicit Subscriber(std::shared_ptr<Link> to) : link(std::move(to)) {}

    void enqueue(const T& value) {
      gate.enqueue([to = link, copy = T(value)]() mutable { to->receive(&copy); });
    }

    const std::shared_ptr<Link> link;
    SerialGate gate;
  };

  /// Removes a subscriber whose scope has ended.
  void forget(std::uint64_t id) {
    std::shared_ptr<Subscriber> forgotten;  // destroyed outside the lock
    const std::lock_guard lock(mutex_);
    const auto found = subscribers_.find(id);
    if (found == subscribers_.end()) return;
    forgotten = std::move(found->second);
    subscribers_.erase(found);
  }

  mutable std::mutex mutex_;
  std::optional<T> current_;
  std::uint64_t nextId_ = 0;
  std::map<std::uint64_t, std::shared_ptr<Subscriber>> subscribers_;  // in the order of their arrival
};

}  // namespace vellora::detail
