#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "vellora/Platform/Publishers/Observer.h"
#include "vellora/Platform/Publishers/SubscriptionScope.h"
#include "vellora/Platform/Publishers/detail/Joint.h"
#include "vellora/Platform/Publishers/detail/Source.h"
#include "vellora/Platform/Publishers/detail/Step.h"

namespace vellora::detail {

/// The joint of two producers: yields a pair of their latest values once both have one, and another at each
/// newer value of either. The producers' own observers keep the values here, in events of the joint.
///
/// Ownership, Threads and Errors: as for `Joint`.
template <class A, class B>
class Latest final : public Joint<std::pair<A, B>> {
 public:
  /// The source of `combineLatest`: starts both, `one` first, and joins them. What `one` yields inside its
  /// start is therefore kept before the other starts, and only the last of it gets into a pair.
  [[nodiscard]] static SourcePtr<std::pair<A, B>> of(SourcePtr<A> one, SourcePtr<B> other) {
    return source<std::pair<A, B>>([one = std::move(one), other = std::move(other)](
                                       auto to, const SubscriptionScope& scope, Use use) mutable {
      const auto latest = std::make_shared<Latest>(std::move(to), scope.child());
      start<A>(taken(one, use), observerOf(latest, &Latest::first_), latest->scope());
      start<B>(taken(other, use), observerOf(latest, &Latest::second_), latest->scope());
    });
  }

  /// The joint of two producers that are about to start in `scope`.
  Latest(std::shared_ptr<Observer<std::pair<A, B>>> downstream, SubscriptionScope scope)
      : Joint<std::pair<A, B>>(std::move(downstream), std::move(scope), 2) {}

 private:
  /// The observer of the producer whose values go to `side`. It owns the joint, so that the events, which a
  /// call of the observer runs, need not.
  template <class V>
  static std::shared_ptr<Observer<V>> observerOf(std::shared_ptr<Latest> latest,
                                                 std::optional<V> Latest::*side) {
    auto onValue = [side](auto& joint, V&& value) {
      joint->run([self = joint.get(), side, value = std::move(value)]() mutable {
        self->*side = std::move(value);
        if (self->first_ && self->second_) self->yield({*self->first_, *self->second_});
      });
    };
    auto onEnd = [](auto& joint, Completion&& completion) { joint->complete(std::move(completion)); };
    return step<V>(std::move(latest), std::move(onValue), std::move(onEnd));
  }

  std::optional<A> first_;  // this and the next: inside events only
  std::optional<B> second_;
};

}  // namespace vellora::detail
