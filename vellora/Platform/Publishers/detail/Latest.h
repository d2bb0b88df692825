#pragma once

#include <optional>
#include <utility>

#include "vellora/Platform/Publishers/Observer.h"
#include "vellora/Platform/Publishers/SubscriptionScope.h"
#include "vellora/Platform/Publishers/detail/Box.h"
#include "vellora/Platform/Publishers/detail/Counted.h"
#include "vellora/Platform/Publishers/detail/Joint.h"
#include "vellora/Platform/Publishers/detail/Receiver.h"
#include "vellora/Platform/Publishers/detail/Source.h"
#include "vellora/Platform/Publishers/detail/Step.h"

namespace vellora::detail {

/// The joint of two producers: yields a pair of their latest values once both have one, and another at each
/// newer value of either. The producers' own receivers keep the values here, in events of the joint.
///
/// Ownership, Threads and Errors: as for `Joint`.
template <class A, class B>
class Latest final : public Joint {
 public:
  using Pair = std::pair<A, B>;

  /// The source of `combineLatest`: starts both, `one` first, and joins them. What `one` yields inside its
  /// start is therefore kept before the other starts, and only the last of it gets into a pair.
  [[nodiscard]] static SourcePtr of(SourcePtr one, SourcePtr other) {
    return source<Pair>([one = std::move(one), other = std::move(other)](
                            Observer<Pair> to, const SubscriptionScope& scope, Use use) mutable {
      const Handle<Latest> latest(new Latest(std::move(to).receiver(), scope.child()));
      start(taken(one, use), receiverOf(latest, &Latest::first_), latest->scope());
      start(taken(other, use), receiverOf(latest, &Latest::second_), latest->scope());
    });
  }

 private:
  /// The closure of the producer whose values go to `side`.
  template <class V>
  struct Side {
    std::optional<V> Latest::*side;

    void receive(const Downstream<Pair>& to, V&& value) const {
      auto& latest = static_cast<Latest&>(*to.receiver());
      latest.run([&latest, side = side, value = std::move(value)]() mutable {
        latest.*side = std::move(value);
        if (!latest.first_ || !latest.second_) return;
        Pair both(*latest.first_, *latest.second_);
        latest.yield(&both);
      });
    }
  };

  /// The joint of two producers that are about to start in `scope`.
  Latest(Handle<Receiver> downstream, SubscriptionScope scope)
      : Joint(std::move(downstream), std::move(scope), 2, boxed<Pair>) {}
  ~Latest() override = default;

  /// The receiver of the producer whose values go to `side`. It owns the joint, so that the events, which a
  /// call of the receiver runs, need not.
  template <class V>
  static Handle<Receiver> receiverOf(const Handle<Latest>& latest, std::optional<V> Latest::*side) {
    return step<V, Pair>({latest, latest->scope(), latest->scope()}, Side<V>{side});
  }

  std::optional<A> first_;  // this and the next: inside events only
  std::optional<B> second_;
};

}  // namespace vellora::detail
