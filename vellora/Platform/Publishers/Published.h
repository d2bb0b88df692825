#pragma once

#include <memory>
#include <utility>

#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Publishers/Subject.h"
#include "vellora/Platform/Publishers/detail/Broadcast.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// A moment without a value: the owner of an observable property is about to change.
struct VELLORA_EXPORT WillChange {};

/// An observable property: a current value and the stream of its changes.
///
/// Setting tells the observers of the owning object, stores the value, then delivers it to every subscriber;
/// an equal value is delivered again. A subscriber that arrives at any moment, also during a delivery or from
/// inside one, gets the current value at once and misses no later one. Each gets the values in the order of
/// their storing. The stream never ends.
///
/// Ownership: destroying the property lets go of its subscribers without a completion.
/// Threads: safe to use from several threads at once; subscribers are called on the thread that sets, or on
/// one that is delivering to them already, with no lock held.
template <class T>
class Published {
 public:
  /// `objectWillChange` is told just before each change; it belongs to the owning object.
  Published(T initial, Subject<WillChange> objectWillChange)
      : objectWillChange_(std::move(objectWillChange)),
        broadcast_(std::make_shared<detail::Broadcast<T>>(std::move(initial))) {}

  [[nodiscard]] T value() const { return *broadcast_->current(); }

  void set(const T& value) const {
    objectWillChange_.send({});
    broadcast_->send(value);
  }

  [[nodiscard]] Publisher<T> stream() const { return Publisher<T>(broadcast_); }

 private:
  Subject<WillChange> objectWillChange_;
  std::shared_ptr<detail::Broadcast<T>> broadcast_;
};

}  // namespace vellora
