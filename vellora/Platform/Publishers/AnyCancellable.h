#pragma once

#include <optional>
#include <utility>

#include "vellora/Platform/Publishers/SubscriptionScope.h"

namespace vellora {

/// The token of one subscription. Cancelling it, or dropping it, silences everything that has not begun.
///
///     AnyCancellable token = publisher.sink([](int value) { show(value); });
///     token.cancel();  // `show` is not called any more
///
/// Ownership: movable only. The token does not own the subscription, which lives with what it waits for. The
/// token of a subscription that has ended holds one small block of memory and nothing of the pipeline.
///
/// Threads: `cancel` may be called from any thread, also from inside the subscription's own handlers. It
/// waits for nobody: what another thread has begun to deliver still comes, and its handler may be running
/// when `cancel` has returned, or only be about to. Move and destroy it on one thread at a time.
class [[nodiscard]] AnyCancellable {
 public:
  /// A token without a subscription.
  AnyCancellable() = default;

  /// The token of the subscription that ends with `scope`.
  explicit AnyCancellable(SubscriptionScope scope) : scope_(std::move(scope)) {}

  AnyCancellable(AnyCancellable&& other) noexcept : scope_(std::exchange(other.scope_, std::nullopt)) {}

  /// Takes the other's subscription and cancels the own one.
  AnyCancellable& operator=(AnyCancellable&& other) noexcept {
    if (this != &other) AnyCancellable(std::move(other)).swap(*this);
    return *this;
  }

  ~AnyCancellable() { cancel(); }

  /// Cancels the subscription. Nothing is delivered afterwards that has not begun to be, not even the end.
  /// Does nothing when there is no subscription, or when it has ended.
  void cancel() const {
    if (scope_) scope_->end();
  }

  /// Lets the subscription go on without its token, until it ends by itself or with what it waits for.
  void detach() && { scope_.reset(); }

  /// Exchanges the subscriptions of two tokens. Neither is cancelled.
  void swap(AnyCancellable& other) noexcept { std::swap(scope_, other.scope_); }

 private:
  friend class Cancellables;

  std::optional<SubscriptionScope> scope_;
};

}  // namespace vellora
