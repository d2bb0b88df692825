#include "vellora/Platform/Publishers/SubscriptionScope.h"

#include <atomic>
#include <map>
#include <mutex>
#include <utility>

namespace vellora {

struct SubscriptionScope::State {
  using Teardowns = std::map<Registration, Teardown>;

  // Leaves the parent, so that a parent that lives long does not collect the marks of children that are gone.
  ~State() {
    if (const auto above = parent.lock()) SubscriptionScope(above).remove(inParent);
  }

  std::mutex mutex;
  std::atomic<bool> active = true;  // changed under the mutex, and asked for at every step without it
  Registration next = 1;
  std::unique_ptr<Teardowns> teardowns;  // allocated on first use: many scopes never have one
  std::weak_ptr<State> parent;           // set at most once, and read when no handle is left
  Registration inParent = 0;
};

SubscriptionScope::SubscriptionScope() : state_(std::make_shared<State>()) {}
SubscriptionScope::SubscriptionScope(std::shared_ptr<State> state) : state_(std::move(state)) {}

SubscriptionScope SubscriptionScope::child() const {
  SubscriptionScope scope;
  adopt(scope);
  return scope;
}

void SubscriptionScope::adopt(const SubscriptionScope& scope) const {
  scope.state_->inParent = add([weak = std::weak_ptr<State>(scope.state_)] {
    if (const auto state = weak.lock()) SubscriptionScope(state).end();
  });
  scope.state_->parent = state_;
}

std::size_t SubscriptionScope::size() const {
  const std::lock_guard lock(state_->mutex);
  return state_->teardowns ? state_->teardowns->size() : 0;
}

bool SubscriptionScope::isActive() const {
  return state_->active;
}

bool SubscriptionScope::end() const {
  const std::shared_ptr<State> state = state_;  // a teardown may destroy this handle
  std::unique_ptr<State::Teardowns> teardowns;
  {
    const std::lock_guard lock(state->mutex);
    if (!state->active) return false;
    state->active = false;
    teardowns = std::move(state->teardowns);
  }
  if (teardowns) {
    for (auto& [registration, teardown] : *teardowns) teardown();
  }
  return true;
}

SubscriptionScope::Registration SubscriptionScope::add(Teardown teardown) const {
  {
    const std::lock_guard lock(state_->mutex);
    if (state_->active) {
      if (!state_->teardowns) state_->teardowns = std::make_unique<State::Teardowns>();
      const Registration registration = state_->next++;
      state_->teardowns->emplace(registration, std::move(teardown));
      return registration;
    }
  }
  teardown();
  return 0;
}

void SubscriptionScope::remove(Registration registration) const {
  Teardown removed;  // destroyed outside the lock
  const std::lock_guard lock(state_->mutex);
  if (!state_->teardowns) return;
  const auto found = state_->teardowns->find(registration);
  if (found == state_->teardowns->end()) return;
  removed = std::move(found->second);
  state_->teardowns->erase(found);
}

}  // namespace vellora
