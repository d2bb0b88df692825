#include "vellora/Platform/Publishers/detail/Step.h"

#include "vellora/Platform/Publishers/detail/Joint.h"

namespace vellora::detail {

void passEnd(void* /*closure*/, const StepState& state, Completion&& completion) {
  state.to->complete(std::move(completion));
}

Handle<Receiver> Step::of(const StepType& type, StepState state, void* closure, Use use) {
  return Handle<Receiver>(new (Room{type.closure.size}) Step(type, std::move(state), closure, use));
}

Step::Step(const StepType& type, StepState&& state, void* closure, Use use)
    : type_(type), state_(std::move(state)) {
  type.closure.take(this->closure(), closure, use);
}

Step::~Step() {
  type_.closure.destroy(closure());
}

void Step::receive(void* value) {
  type_.receive(closure(), state_, value);
}

void Step::complete(Completion&& completion) {
  type_.complete(closure(), state_, std::move(completion));
}

SourcePtr StepSource::of(const StepType& type, SourcePtr upstream, void* closure) {
  return SourcePtr(new (Room{type.closure.size}) StepSource(type, std::move(upstream), closure));
}

StepSource::StepSource(const StepType& type, SourcePtr&& upstream, void* closure)
    : type_(type), upstream_(std::move(upstream)) {
  type.closure.take(this->closure(), closure, Use::last);
}

StepSource::~StepSource() {
  type_.closure.destroy(closure());
}

void StepSource::start(Handle<Receiver> receiver, const SubscriptionScope& outer, Use use) {
  const SubscriptionScope scope = type_.life == StepLife::downstream ? outer : outer.child();
  // Upstream counts as one of the producers that are joined, so that the joint does not end before it.
  if (type_.life == StepLife::joined) {
    receiver = Handle<Joint>(new Joint(std::move(receiver), scope, 1, type_.boxing));
  }
  auto step = Step::of(type_, {std::move(receiver), scope, outer}, closure(), use);
  detail::start(taken(upstream_, use), std::move(step), scope);
}

}  // namespace vellora::detail
