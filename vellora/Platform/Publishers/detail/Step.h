#pragma once

#include <memory>
#include <utility>

#include "vellora/Platform/Publishers/Observer.h"
#include "vellora/Platform/Publishers/SubscriptionScope.h"
#include "vellora/Platform/Publishers/detail/Source.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::detail {

/// An observer that is two functions of what it keeps: `onValue(state, value)` and `onEnd(state,
/// completion)`.
///
/// Ownership: it owns the state and the functions; they go with it, the functions first.
///
/// Threads: as `Observer`. So the functions may change the state without a lock.
///
/// Errors: what a function throws goes upstream, to the link through which the value came.
template <class T, class State, class OnValue, class OnEnd>
class Step final : public Observer<T> {
 public:
  Step(State&& state, OnValue&& onValue, OnEnd&& onEnd)
      : state_(std::move(state)), onValue_(std::move(onValue)), onEnd_(std::move(onEnd)) {}
  void receive(T value) override { onValue_(state_, std::move(value)); }
  void complete(Completion completion) override { onEnd_(state_, std::move(completion)); }

 private:
  State state_;
  OnValue onValue_;
  OnEnd onEnd_;
};

/// Makes a `Step` of a state and two lambdas.
template <class T, class State, class OnValue, class OnEnd>
[[nodiscard]] std::shared_ptr<Observer<T>> step(State state, OnValue onValue, OnEnd onEnd) {
  return std::make_shared<Step<T, State, OnValue, OnEnd>>(std::move(state), std::move(onValue),
                                                          std::move(onEnd));
}

/// What a step keeps when it lives exactly as long as what is behind it.
template <class U>
struct Downstream {
  using Value = U;

  Downstream(std::shared_ptr<Observer<U>> to, SubscriptionScope lifetime)
      : observer(std::move(to)), scope(std::move(lifetime)) {}

  std::shared_ptr<Observer<U>> observer;
  SubscriptionScope scope;  ///< of upstream, and here also of what is behind the step
};

/// What a step keeps when it may end before its upstream does. It ends `scope`, which cancels upstream, and
/// `outer` tells whether anybody listens still.
template <class U>
struct CuttingDownstream : Downstream<U> {
  CuttingDownstream(std::shared_ptr<Observer<U>> to, const SubscriptionScope& lifetime)
      : Downstream<U>(std::move(to), lifetime.child()), outer(lifetime) {}

  SubscriptionScope outer;  ///< of what is behind the step
};

/// What most steps do with the end: they pass it on as it comes.
struct VELLORA_EXPORT PassEnd {
  template <class State>
  void operator()(State& to, Completion&& completion) const {
    to.observer->complete(std::move(completion));
  }
};

/// The source that has a step behind its upstream. Each subscription has a `State` of its own, made of who is
/// downstream and of the subscription's scope, and its own copies of the functions. Passing each
/// value through `f` and the end as it is, for example:
///
///     behind<Downstream<U>>(
///         upstream, [f](auto& to, T&& value) mutable { to.observer->receive(f(std::move(value))); },
///         PassEnd());
template <class T, class State, class OnValue, class OnEnd>
class StepSource final : public Source<typename State::Value> {
 public:
  StepSource(SourcePtr<T> upstream, OnValue&& onValue, OnEnd&& onEnd)
      : upstream_(std::move(upstream)), onValue_(std::move(onValue)), onEnd_(std::move(onEnd)) {}

  void start(std::shared_ptr<Observer<typename State::Value>> observer, const SubscriptionScope& outer,
             Use use) override {
    State state(std::move(observer), outer);
    const SubscriptionScope scope = state.scope;
    detail::start<T>(taken(upstream_, use),
                     step<T>(std::move(state), taken(onValue_, use), taken(onEnd_, use)), scope);
  }

 private:
  SourcePtr<T> upstream_;
  OnValue onValue_;
  OnEnd onEnd_;
};

/// Makes a `StepSource` of two lambdas.
template <class State, class T, class OnValue, class OnEnd>
[[nodiscard]] SourcePtr<typename State::Value> behind(const SourcePtr<T>& upstream, OnValue onValue,
                                                      OnEnd onEnd) {
  return std::make_shared<StepSource<T, State, OnValue, OnEnd>>(upstream, std::move(onValue),
                                                                std::move(onEnd));
}

}  // namespace vellora::detail
