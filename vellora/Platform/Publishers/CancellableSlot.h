#pragma once

#include <cstdint>
#include <mutex>
#include <utility>

#include "vellora/Platform/Publishers/AnyCancellable.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// Room for one subscription token: the newest subscription takes the place of the one before, which is
/// thereby cancelled.
///
///     slot.replace([&] { return search(text).sink(show); });  // cancels the search before, if one runs
///
/// The newest is the one whose `replace` was called last. A subscription may end inside its own start, and
/// its handlers may call `replace` for the next one, before its own token has been returned. That token then
/// comes too late: it is dropped, and the next one's stays.
///
/// Ownership: the slot holds the newest token. Destroying the slot cancels its subscription.
///
/// Threads: safe to use from several threads at once; subscribes and cancels with no lock held.
class VELLORA_EXPORT CancellableSlot {
 public:
  /// A slot without a subscription.
  CancellableSlot() = default;
  CancellableSlot(const CancellableSlot&) = delete;
  CancellableSlot& operator=(const CancellableSlot&) = delete;

  /// Calls `subscribe`, then keeps the token that it returns and cancels the one before.
  template <class Subscribe>
  void replace(Subscribe subscribe) {
    const std::uint64_t turn = takeTurn();
    keep(turn, subscribe());
  }

 private:
  /// The number of a call of `replace`: a later call has a larger one.
  [[nodiscard]] std::uint64_t takeTurn();

  /// Keeps `token` unless that of a later turn is kept already, and cancels the one that is not kept.
  void keep(std::uint64_t turn, AnyCancellable token);

  std::mutex mutex_;  // guards what follows
  std::uint64_t lastTurn_ = 0;
  std::uint64_t keptTurn_ = 0;
  AnyCancellable kept_;
};

}  // namespace vellora
