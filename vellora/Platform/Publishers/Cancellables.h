#pragma once

#include <cstddef>
#include <mutex>
#include <vector>

#include "vellora/Platform/Publishers/AnyCancellable.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// The subscription tokens of one owner, kept for the owner's life. Destroying the set cancels what still
/// runs.
///
///     subscriptions.insert(publisher.sink([](int value) { show(value); }));
///
/// Ownership: the set holds its tokens until it is destroyed, also those of subscriptions that have ended,
/// which are small.
///
/// Threads: safe to use from several threads at once.
class VELLORA_EXPORT Cancellables {
 public:
  Cancellables() = default;
  Cancellables(const Cancellables&) = delete;
  Cancellables& operator=(const Cancellables&) = delete;

  /// Takes a token. Throws `std::bad_alloc`; the token's subscription is cancelled then.
  void insert(AnyCancellable token);

  /// How many tokens there are, ended ones included.
  [[nodiscard]] std::size_t size() const;

 private:
  mutable std::mutex mutex_;
  std::vector<AnyCancellable> tokens_;
};

}  // namespace vellora
