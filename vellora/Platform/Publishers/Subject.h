#pragma once

#include <memory>
#include <optional>

#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Publishers/detail/Broadcast.h"

namespace vellora {

/// A producer that is fed by hand. It passes each value to those who subscribe at that moment, remembers
/// none, and never ends. For a value that late subscribers get as well, see `Published` and `Promise`.
///
/// Ownership: copies share the subject. When the last of them is gone, its subscribers are let go of without
/// a completion, also while somebody keeps one of its publishers. Whoever subscribes to that later hears
/// nothing.
///
/// Threads: safe to use from several threads at once. Subscribers are called with no lock held, on the thread
/// that sends, or on one that is delivering to them already.
///
/// Errors: none. A subscriber for which there is no memory misses the value.
template <class T>
class Subject {
 public:
  Subject() : broadcast_(std::make_shared<detail::Broadcast<T>>(std::nullopt)) {}

  /// Passes `value` to all subscribers, in the order of their arrival. From inside a handler the value comes
  /// after the one that is being delivered.
  void send(const T& value) const { broadcast_->send(value); }

  /// The stream of what is sent after the subscription.
  [[nodiscard]] Publisher<T> publisher() const { return Publisher<T>(broadcast_->stream()); }

 private:
  std::shared_ptr<detail::Broadcast<T>> broadcast_;
};

}  // namespace vellora
