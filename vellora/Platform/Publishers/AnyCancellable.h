#pragma once

#include <optional>
#include <utility>

#include "vellora/Platform/Publishers/SubscriptionScope.h"

namespace vellora {

/// The token of one subscription: cancelling it, or dropping it, silences everything that has not begun.
///
/// Ownership: movable only. A token whose subscription has ended weighs one small allocation and holds
/// nothing. Threads: `cancel` may be called from any thread, also from inside the subscription's own
/// handlers; a handler that is already running on another thread finishes.
class [[nodiscard]] AnyCancellable {
 public:
  AnyCancellable() = default;
  explicit AnyCancellable(SubscriptionScope scope) : scope_(std::move(scope)) {}

  AnyCancellable(AnyCancellable&& other) noexcept : scope_(std::exchange(other.scope_, std::nullopt)) {}
  AnyCancellable& operator=(AnyCancellable&& other) noexcept {
    if (this != &other) AnyCancellable(std::move(other)).swap(*this);
    return *this;
  }
  ~AnyCancellable() { cancel(); }

  void cancel() const {
    if (scope_) scope_->end();
  }

  /// Lets the subscription go on without its token, until it ends by itself or with what it waits for.
  void detach() && { scope_.reset(); }

  void swap(AnyCancellable& other) noexcept { std::swap(scope_, other.scope_); }

 private:
  std::optional<SubscriptionScope> scope_;
};

}  // namespace vellora
