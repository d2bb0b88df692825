#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// The lifetime of one running subscription: active until it is ended once, by its end or by a cancellation.
///
/// A producer that waits for something registers a teardown, which lets go of the consumer. Ending the scope
/// runs it. A teardown must hold what it lets go of only weakly: the producer owns the way down to the
/// consumer, the token owns the scope, and neither may keep the other alive.
///
/// Ownership: copies are handles to one scope. An ended scope holds nothing.
///
/// Threads: safe to use from several threads at once. Teardowns run on the thread that ends the scope, with
/// no lock held.
///
/// Errors: constructing, `child` and `add` throw `std::bad_alloc`. Ending takes no memory; teardowns must not
/// throw.
class VELLORA_EXPORT SubscriptionScope {
 public:
  using Teardown = std::function<void()>;
  using Registration = std::uint64_t;

  SubscriptionScope();

  /// A scope that ends with this one, and may end before it.
  [[nodiscard]] SubscriptionScope child() const;

  /// Makes `scope` one that ends with this one, at once if this one has ended. `scope` must not be a child
  /// already, and is adopted only once.
  void adopt(const SubscriptionScope& scope) const;

  /// How many teardowns are registered. Each child that is still held by anybody counts as one.
  [[nodiscard]] std::size_t size() const;

  /// False once the scope has been ended. Takes no lock.
  [[nodiscard]] bool isActive() const;

  /// Ends the scope and runs the teardowns in the order of their registration. True for the one call that
  /// ended it.
  bool end() const;

  /// Registers `teardown`, to run when the scope ends; runs it at once when it has ended.
  Registration add(Teardown teardown) const;

  /// Forgets a teardown that is no longer needed.
  void remove(Registration registration) const;

 private:
  struct State;
  explicit SubscriptionScope(std::shared_ptr<State> state);

  std::shared_ptr<State> state_;
};

}  // namespace vellora
