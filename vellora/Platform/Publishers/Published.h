#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Publishers/Subject.h"
#include "vellora/Platform/Publishers/detail/Broadcast.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// Announces that a property of an object is about to change. It does not say which, nor to what.
///
/// An observer that is busy with one notice gets the next one when it returns, which may be after that
/// change: see `Published`.
struct VELLORA_EXPORT WillChange {};

/// An observable property: a current value and the stream of its changes.
///
/// Setting tells the observers of the owning object, stores the value, then delivers it to every subscriber;
/// an equal value is delivered again. A subscriber that arrives at any moment, also during a delivery or from
/// inside one, gets the current value at once and misses no later one. Each subscriber gets the values in the
/// order in which they were stored. The stream never ends.
///
/// `set` waits for no observer, and the value is stored when it returns. So an observer that is busy with an
/// earlier notice, on another thread or because it sets the property itself, gets this one when it returns,
/// maybe after the change (docs/adr/0008-notices-of-changes.md).
///
/// Ownership: copies share the property. When the last of them is gone, its subscribers are let go of without
/// a completion, also while somebody keeps one of its streams. Whoever subscribes to that later hears
/// nothing. An observer or a subscriber may destroy the property while it is being set.
///
/// Threads: safe to use from several threads at once. Subscribers are called with no lock held, on the thread
/// that sets, or on one that is delivering to them already.
///
/// Errors: none. A value that can be copied without memory is stored in any case. A subscriber for which
/// there is no memory misses it.
template <class T>
class Published {
 public:
  /// `objectWillChange` is told of each change; it belongs to the owning object.
  Published(T initial, Subject<WillChange> objectWillChange)
      : objectWillChange_(std::move(objectWillChange)),
        broadcast_(std::make_shared<detail::Broadcast<T>>(std::move(initial))) {}

  /// A copy of the current value.
  [[nodiscard]] T value() const { return *broadcast_->current(); }

  void set(const T& value) const {
    const auto broadcast = broadcast_;  // an observer may destroy the property
    objectWillChange_.send({});
    broadcast->send(value);
  }

  /// Yields the current value at once, on the subscribing thread, then every later one.
  [[nodiscard]] Publisher<T> stream() const { return Publisher<T>(broadcast_->stream()); }

 private:
  Subject<WillChange> objectWillChange_;
  std::shared_ptr<detail::Broadcast<T>> broadcast_;
};

}  // namespace vellora
