#pragma once

#include <cstddef>

#include "vellora/Platform/Publishers/AnyCancellable.h"
#include "vellora/Platform/Publishers/SubscriptionScope.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// The subscriptions of one owner. Destroying the set cancels those that are under way.
///
///     publisher.sink(subscriptions, [](int value) { show(value); }, [](const Completion&) {});
///
/// A pipeline that has ended leaves nothing in the set. The owner may start one after the other for as long
/// as it lives.
///
/// Ownership: the set owns no pipeline. A pipeline lives with what it waits for, and the set knows it only
/// weakly, in order to cancel it.
///
/// Threads: safe to use from several threads at once. Subscriptions are cancelled with no lock held.
class VELLORA_EXPORT Cancellables {
 public:
  Cancellables() = default;
  ~Cancellables() { close(); }
  Cancellables(const Cancellables&) = delete;
  Cancellables& operator=(const Cancellables&) = delete;

  /// Takes the subscription of a token. Throws `std::bad_alloc`; the subscription is cancelled then.
  void insert(AnyCancellable token);

  /// Cancels what is under way, on this thread. What comes later is cancelled at once.
  void close() const { scope_.end(); }

  /// How many subscriptions are under way, or are just ending.
  [[nodiscard]] std::size_t size() const { return scope_.size(); }

  /// For the library's own steps: the lifetime of all subscriptions. Its children end with the set.
  [[nodiscard]] const SubscriptionScope& scope() const noexcept { return scope_; }

 private:
  const SubscriptionScope scope_;
};

}  // namespace vellora
