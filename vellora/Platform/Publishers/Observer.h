#pragma once

#include <utility>

#include "vellora/Platform/Publishers/Completion.h"
#include "vellora/Platform/Publishers/detail/Counted.h"
#include "vellora/Platform/Publishers/detail/Receiver.h"

namespace vellora {

/// Receives what a producer yields: any number of values, then at most one completion. A subscription that
/// is cancelled has none.
///
/// Ownership: a handle. Copies share what stands behind it.
///
/// Threads: called on whatever thread yields, one call at a time. The caller keeps the observer alive until
/// its call returns.
///
/// Errors: a call may throw `std::bad_alloc`, which ends the pipeline, and nothing else.
template <class T>
class Observer {
 public:
  /// `receiver` takes values of `T`.
  explicit Observer(detail::Handle<detail::Receiver> receiver) : receiver_(std::move(receiver)) {}

  /// Hands on the next value. Not called after `complete`.
  void receive(T value) const { receiver_->receive(&value); }

  /// Hands on the end. It is the last call.
  void complete(Completion completion) const { receiver_->complete(std::move(completion)); }

  /// What stands behind it. The second gives it away.
  [[nodiscard]] const detail::Handle<detail::Receiver>& receiver() const& noexcept { return receiver_; }
  [[nodiscard]] detail::Handle<detail::Receiver> receiver() && noexcept { return std::move(receiver_); }

 private:
  detail::Handle<detail::Receiver> receiver_;
};

}  // namespace vellora
