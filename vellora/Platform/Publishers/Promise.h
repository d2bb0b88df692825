#pragma once

#include <utility>

#include "vellora/Platform/Publishers/detail/Counted.h"
#include "vellora/Platform/Publishers/detail/PromiseSource.h"
#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora {

/// The giving end of a producer of one result. `Publisher::promise` makes it and hands it to its body.
///
/// The first result counts and is kept: subscribers that come later get it, too. Later results are ignored,
/// so a host that answers twice does no harm.
///
/// Ownership: copies share the promise. Whoever holds one keeps the pipelines of waiting subscribers alive.
/// When the last copy and the last publisher are dropped before there is a result, subscribers are let go of
/// without a completion.
///
/// Threads: safe to use from several threads at once. Subscribers that wait are delivered to on the thread
/// that resolves, inside the call; one that comes later, on its own thread.
///
/// Errors: an error is a result like a value. It is passed on as it is.
template <class T>
class Promise {
 public:
  Promise() : source_(new detail::PromiseSource<T>()) {}

  /// Yields `value` to every subscriber, then ends.
  void succeed(T value) const { source_->resolve(std::move(value)); }

  /// Ends with `error`.
  void fail(Error error) const { source_->resolve(std::move(error)); }

  /// One of the two, after what `result` holds.
  void resolve(Result<T> result) const { source_->resolve(std::move(result)); }

 private:
  template <class U>
  friend class Publisher;

  detail::Handle<detail::PromiseSource<T>> source_;
};

}  // namespace vellora
