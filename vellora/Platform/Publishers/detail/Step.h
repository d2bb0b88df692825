#pragma once

#include <cstddef>
#include <utility>

#include "vellora/Platform/Publishers/Observer.h"
#include "vellora/Platform/Publishers/SubscriptionScope.h"
#include "vellora/Platform/Publishers/detail/Box.h"
#include "vellora/Platform/Publishers/detail/Counted.h"
#include "vellora/Platform/Publishers/detail/Receiver.h"
#include "vellora/Platform/Publishers/detail/Source.h"
#include "vellora/Platform/Publishers/detail/WithClosure.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::detail {

/// What a step knows besides its closure.
struct VELLORA_EXPORT StepState {
  Handle<Receiver> to;      ///< who is downstream; none behind the last step, a sink
  SubscriptionScope scope;  ///< of upstream
  SubscriptionScope outer;  ///< of what is behind the step
};

/// The same for a step that yields values of `U`, as its closure sees it. It lives as long as one call.
template <class U>
class Downstream {
 public:
  explicit Downstream(const StepState& state) : state_(state) {}

  void receive(U value) const { state_.to->receive(&value); }
  void complete(Completion completion) const { state_.to->complete(std::move(completion)); }

  [[nodiscard]] const Handle<Receiver>& receiver() const { return state_.to; }
  [[nodiscard]] const SubscriptionScope& scope() const { return state_.scope; }
  [[nodiscard]] const SubscriptionScope& outer() const { return state_.outer; }

 private:
  const StepState& state_;
};

/// How long a step lives: as long as what is behind it; or it may end before, which cancels its upstream
/// alone; or it joins the producers that it starts (`Joint`), and lives as long as these.
enum class StepLife { downstream, own, joined };

/// What a step has to know of its closure.
struct VELLORA_EXPORT StepType {
  ClosureType closure;
  void (*receive)(void* closure, const StepState& state, void* value);
  void (*complete)(void* closure, const StepState& state, Completion&& completion);
  StepLife life;
  Boxing boxing;  ///< of the values that are joined
};

/// What most steps do with the end: they pass it on as it comes.
VELLORA_EXPORT void passEnd(void* closure, const StepState& state, Completion&& completion);

/// A receiver whose closure stands behind it.
///
/// Ownership: it owns the closure and what is downstream; they go with it, the closure first.
///
/// Threads: as `Receiver`. So the closure may change without a lock.
///
/// Errors: what the closure throws goes upstream, to the link through which the value came.
class VELLORA_EXPORT Step final : public Receiver, public WithClosure<Step> {
 public:
  /// A step with what `taken` makes of `closure`.
  [[nodiscard]] static Handle<Receiver> of(const StepType& type, StepState state, void* closure, Use use);

  ~Step() override;
  void receive(void* value) override;
  void complete(Completion&& completion) override;

 private:
  Step(const StepType& type, StepState&& state, void* closure, Use use);

  const StepType& type_;
  const StepState state_;
};

/// The source that has a step behind its upstream. Each subscription has a step of its own, with its own copy
/// of the closure.
class VELLORA_EXPORT StepSource final : public Source, public WithClosure<StepSource> {
 public:
  /// A source that takes the closure away.
  [[nodiscard]] static SourcePtr of(const StepType& type, SourcePtr upstream, void* closure);

  ~StepSource() override;
  void start(Handle<Receiver> receiver, const SubscriptionScope& outer, Use use) override;

 private:
  StepSource(const StepType& type, SourcePtr&& upstream, void* closure);

  const StepType& type_;
  SourcePtr upstream_;
};

/// Whether a closure does anything with the end but pass it on.
template <class Closure, class U>
concept TakesEnd = requires(Closure& closure, const Downstream<U>& to, Completion&& end) {
  closure.complete(to, std::move(end));
};

template <class Closure, class T, class U>
void receiveBy(void* closure, const StepState& state, void* value) {
  static_cast<Closure*>(closure)->receive(Downstream<U>(state), std::move(*static_cast<T*>(value)));
}

template <class Closure, class U>
void completeBy(void* closure, const StepState& state, Completion&& completion) {
  if constexpr (TakesEnd<Closure, U>) {
    static_cast<Closure*>(closure)->complete(Downstream<U>(state), std::move(completion));
  }
}

template <class T, class U, StepLife life, class Closure>
inline constexpr StepType stepType = {closureType<Closure>, receiveBy<Closure, T, U>,
                                      TakesEnd<Closure, U> ? completeBy<Closure, U> : passEnd, life,
                                      life == StepLife::joined ? boxed<U> : nullptr};

/// Makes a step for values of `T`, which yields values of `U`.
template <class T, class U, class Closure>
[[nodiscard]] Handle<Receiver> step(StepState state, Closure closure) {
  static_assert(alignof(Closure) <= alignof(std::max_align_t),
                "keep what is aligned more strictly behind a pointer");
  return Step::of(stepType<T, U, StepLife::downstream, Closure>, std::move(state), &closure, Use::last);
}

/// Makes the source that has such a step behind `upstream`. Of the closure `receive(downstream, value)` is
/// called, and at the end `complete(downstream, completion)`; one without the latter passes the end on as it
/// comes. Passing each value through `f`, for example:
///
///     struct Mapped {
///       F f;
///       void receive(const Downstream<U>& to, T&& value) { to.receive(f(std::move(value))); }
///     };
///     behind<T, U>(upstream, Mapped{f});
template <class T, class U, StepLife life = StepLife::downstream, class Closure>
[[nodiscard]] SourcePtr behind(SourcePtr upstream, Closure closure) {
  static_assert(alignof(Closure) <= alignof(std::max_align_t),
                "keep what is aligned more strictly behind a pointer");
  return StepSource::of(stepType<T, U, life, Closure>, std::move(upstream), &closure);
}

}  // namespace vellora::detail
