#pragma once

#include <atomic>
#include <memory>
#include <utility>

#include "vellora/Platform/Publishers/Observer.h"
#include "vellora/Platform/Publishers/SubscriptionScope.h"

namespace vellora::detail {

/// Tells a source whether it may be started again after this use. At the last use it moves its values and
/// closures into the subscription, because nobody needs them afterwards; before that it has to copy them.
enum class Use { oneOfSeveral, last };

/// What stands behind a `Publisher`: it knows how a subscription is started.
///
/// Threads: may be started from several threads at once. A source changes only at its last use, and no other
/// thread uses it then.
template <class T>
class Source {
 public:
  virtual ~Source() = default;

  /// Starts yielding to `observer` until `scope` ends. May do all of it inside the call. Whoever wants a
  /// source started calls `detail::start`, which decides on `use`.
  ///
  /// A source that waits for something must let go of the observer when the scope ends (see `Link`). Throws
  /// `std::bad_alloc`.
  virtual void start(std::shared_ptr<Observer<T>> observer, const SubscriptionScope& scope, Use use) = 0;

 protected:
  Source() = default;
  Source(const Source&) = default;
  Source& operator=(const Source&) = default;
};

/// A handle to a source. Publishers, and the steps behind them, share a source.
template <class T>
using SourcePtr = std::shared_ptr<Source<T>>;

/// Starts `source`. This is its last use when the caller gives the only handle away, because then nobody else
/// can start it any more. No other function decides that. At its last use a source gives away the handle to
/// its own upstream in the same way, so the whole chain above it can have its last use too.
template <class T>
void start(SourcePtr<T> source, std::shared_ptr<Observer<T>> observer, const SubscriptionScope& scope) {
  const bool isLast = source.use_count() == 1;
  // Another thread may have used the source before it dropped its handle. The fence orders that use before
  // this one.
  if (isLast) std::atomic_thread_fence(std::memory_order_acquire);
  source->start(std::move(observer), scope, isLast ? Use::last : Use::oneOfSeveral);
}

/// A part of a source, such as a closure or the handle to its upstream, for one subscription: a copy, or at
/// the last use the part itself.
template <class Part>
[[nodiscard]] Part taken(Part& part, Use use) {
  return use == Use::last ? std::move(part) : part;
}

/// A source that is one function, `begin(observer, scope, use)`. Its parts are what `begin` has captured; it
/// may move from them at the last use only, and calls `taken` for that:
///
///     source<T>([value](auto observer, const SubscriptionScope& scope, Use use) mutable {
///       observer->receive(taken(value, use));
///       if (scope.isActive()) observer->complete({});
///     });
template <class T, class Begin>
class Recipe final : public Source<T> {
 public:
  explicit Recipe(Begin&& begin) : begin_(std::move(begin)) {}
  void start(std::shared_ptr<Observer<T>> observer, const SubscriptionScope& scope, Use use) override {
    begin_(std::move(observer), scope, use);
  }

 private:
  Begin begin_;
};

/// Makes a `Recipe` of a lambda.
template <class T, class Begin>
[[nodiscard]] SourcePtr<T> source(Begin begin) {
  return std::make_shared<Recipe<T, Begin>>(std::move(begin));
}

}  // namespace vellora::detail
