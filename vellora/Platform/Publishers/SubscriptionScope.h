#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// The lifetime of one running subscription: active until it is ended once, by its end or by a cancellation.
///
/// A producer that waits for something registers how to let go of its consumer; ending the scope runs that.
/// The scope must know what it cuts only weakly: producers own the way down to the consumer, tokens own the
/// scope, so that neither keeps the other alive.
///
/// Ownership: copies are handles to one scope. An ended scope holds nothing.
/// Threads: safe to use from several threads at once; teardowns run on the thread that ends the scope, with
/// no lock held.
class VELLORA_EXPORT SubscriptionScope {
 public:
  using Teardown = std::function<void()>;
  using Registration = std::uint64_t;

  SubscriptionScope();

  /// A scope that ends with this one, and may end before it.
  [[nodiscard]] SubscriptionScope child() const;

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
