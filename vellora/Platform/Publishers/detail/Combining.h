#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <new>
#include <optional>
#include <utility>

#include "vellora/Platform/Publishers/SerialGate.h"
#include "vellora/Platform/Publishers/detail/Source.h"
#include "vellora/Platform/Values/OutOfMemory.h"

namespace vellora::detail {

/// The joint of several producers: whatever thread they yield on, their events pass one at a time, and none
/// once the joint has ended.
template <class U>
class Joint {
 public:
  Joint(std::shared_ptr<Observer<U>> downstream, SubscriptionScope scope)
      : scope_(std::move(scope)), downstream_(std::move(downstream)) {}

  /// The scope of everything upstream of the joint.
  [[nodiscard]] const SubscriptionScope& scope() const { return scope_; }

  /// Runs `event` behind the events before it. `event` may call `yield` and `finish`. One that gets no memory
  /// ends the joint, whichever thread happens to run it.
  template <class F>
  void run(F event) {
    gate_.run([this, event = std::move(event)]() mutable {
      if (ended_ || !scope_.isActive()) return;
      try {
        event();
      } catch (const std::bad_alloc&) {
        finish(outOfMemory());
      }
    });
  }

  /// Inside an event only.
  void yield(U value) { downstream_->receive(std::move(value)); }

  /// Inside an event only: ends the joint and all that is upstream of it.
  void finish(Completion completion) {
    if (ended_ || !scope_.isActive()) return;  // the consumer of the last value cancelled
    ended_ = true;
    scope_.end();
    try {
      downstream_->complete(std::move(completion));
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): nobody is left to be told
    }
  }

 private:
  SerialGate gate_;
  const SubscriptionScope scope_;
  const std::shared_ptr<Observer<U>> downstream_;
  bool ended_ = false;  // inside events only
};

/// Starts a producer for each value and merges what they yield.
template <class T, class U, class F>
class FlatMapSource final : public Source<U> {
 public:
  FlatMapSource(SourcePtr<T> upstream, F transform)
      : upstream_(std::move(upstream)), transform_(std::move(transform)) {}

  void subscribe(std::shared_ptr<Observer<U>> observer, const SubscriptionScope& scope) const override {
    const auto merge = std::make_shared<Merge>(std::move(observer), scope.child());
    upstream_->subscribe(std::make_shared<OuterObserver>(merge, transform_), merge->joint.scope());
  }

 private:
  struct Merge {
    Merge(std::shared_ptr<Observer<U>> downstream, SubscriptionScope scope)
        : joint(std::move(downstream), std::move(scope)) {}

    void ended(Completion completion) {
      joint.run([this, completion = std::move(completion)]() mutable {
        if (completion || --running == 0) joint.finish(std::move(completion));
      });
    }

    Joint<U> joint;
    std::size_t running = 1;  // upstream itself; inside events only
  };

  class InnerObserver final : public Observer<U> {
   public:
    explicit InnerObserver(std::shared_ptr<Merge> merge) : merge_(std::move(merge)) {}
    void receive(U value) override {
      merge_->joint.run([merge = merge_.get(), value = std::move(value)]() mutable {
        merge->joint.yield(std::move(value));
      });
    }
    void complete(Completion completion) override { merge_->ended(std::move(completion)); }

   private:
    const std::shared_ptr<Merge> merge_;
  };

  class OuterObserver final : public Observer<T> {
   public:
    OuterObserver(std::shared_ptr<Merge> merge, F transform)
        : merge_(std::move(merge)), transform_(std::move(transform)) {}
    void receive(T value) override {
      const SubscriptionScope& scope = merge_->joint.scope();
      if (!scope.isActive()) return;
      merge_->joint.run([merge = merge_.get()] { ++merge->running; });
      useUp<U>(transform_(std::move(value)).takeSource(), std::make_shared<InnerObserver>(merge_), scope);
    }
    void complete(Completion completion) override { merge_->ended(std::move(completion)); }

   private:
    const std::shared_ptr<Merge> merge_;
    F transform_;
  };

  const SourcePtr<T> upstream_;
  const F transform_;
};

/// Pairs the latest values of two producers: one pair once both have a value, and one at each newer value.
template <class A, class B>
struct LatestPairs {
  void addFirst(A value) { first = std::move(value); }
  void addSecond(B value) { second = std::move(value); }
  [[nodiscard]] bool ready() const { return first && second; }
  [[nodiscard]] std::pair<A, B> next() { return {*first, *second}; }
  [[nodiscard]] static bool exhausted(bool firstEnded, bool secondEnded) { return firstEnded && secondEnded; }

  std::optional<A> first;
  std::optional<B> second;
};

/// Pairs the values of two producers in their order: first with first, second with second.
template <class A, class B>
struct OrderedPairs {
  void addFirst(A value) { first.push_back(std::move(value)); }
  void addSecond(B value) { second.push_back(std::move(value)); }
  [[nodiscard]] bool ready() const { return !first.empty() && !second.empty(); }
  [[nodiscard]] std::pair<A, B> next() {
    std::pair<A, B> pair(std::move(first.front()), std::move(second.front()));
    first.pop_front();
    second.pop_front();
    return pair;
  }
  [[nodiscard]] bool exhausted(bool firstEnded, bool secondEnded) const {
    return (firstEnded && first.empty()) || (secondEnded && second.empty());
  }

  std::deque<A> first;
  std::deque<B> second;
};

/// Runs two producers side by side and yields pairs of their values.
template <class A, class B, class Pairs>
class PairSource final : public Source<std::pair<A, B>> {
 public:
  PairSource(SourcePtr<A> first, SourcePtr<B> second)
      : first_(std::move(first)), second_(std::move(second)) {}

  void subscribe(std::shared_ptr<Observer<std::pair<A, B>>> observer,
                 const SubscriptionScope& scope) const override {
    const auto state = std::make_shared<State>(std::move(observer), scope.child());
    first_->subscribe(std::make_shared<SideObserver<A, true>>(state), state->joint.scope());
    second_->subscribe(std::make_shared<SideObserver<B, false>>(state), state->joint.scope());
  }

 private:
  struct State {
    State(std::shared_ptr<Observer<std::pair<A, B>>> downstream, SubscriptionScope scope)
        : joint(std::move(downstream), std::move(scope)) {}

    Joint<std::pair<A, B>> joint;
    Pairs pairs;  // this and the next: inside events only
    bool firstEnded = false;
    bool secondEnded = false;
  };

  template <class V, bool isFirst>
  class SideObserver final : public Observer<V> {
   public:
    explicit SideObserver(std::shared_ptr<State> state) : state_(std::move(state)) {}

    void receive(V value) override {
      state_->joint.run([state = state_.get(), value = std::move(value)]() mutable {
        if constexpr (isFirst) {
          state->pairs.addFirst(std::move(value));
        } else {
          state->pairs.addSecond(std::move(value));
        }
        if (!state->pairs.ready()) return;
        state->joint.yield(state->pairs.next());
        finishWhenExhausted(*state);
      });
    }

    void complete(Completion completion) override {
      state_->joint.run([state = state_.get(), completion = std::move(completion)]() mutable {
        if (completion) return state->joint.finish(std::move(completion));
        (isFirst ? state->firstEnded : state->secondEnded) = true;
        finishWhenExhausted(*state);
      });
    }

   private:
    static void finishWhenExhausted(State& state) {
      if (state.pairs.exhausted(state.firstEnded, state.secondEnded)) state.joint.finish({});
    }

    const std::shared_ptr<State> state_;
  };

  const SourcePtr<A> first_;
  const SourcePtr<B> second_;
};

}  // namespace vellora::detail
