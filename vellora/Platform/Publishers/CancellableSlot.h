#pragma once

#include <cstdint>
#include <mutex>
#include <utility>

#include "vellora/Platform/Publishers/AnyCancellable.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// Room for one subscription token: the newest subscription takes the place of the one before, which is
/// thereby cancelled. Destroying the slot cancels what it holds.
///
/// The newest is the one that began last. A subscription may end, and its handlers may begin the next one,
/// before its own token has been returned: that token then comes too late and is dropped, so that it does not
/// cancel its successor.
///
/// Threads: safe to use from several threads at once; subscribes and cancels with no lock held.
class VELLORA_EXPORT CancellableSlot {
 public:
  CancellableSlot() = default;
  CancellableSlot(const CancellableSlot&) = delete;
  CancellableSlot& operator=(const CancellableSlot&) = delete;

  /// Calls `subscribe`, then keeps the token that it returns.
  template <class Subscribe>
  void replace(Subscribe subscribe) {
    const std::uint64_t turn = takeTurn();
    keep(turn, subscribe());
  }

 private:
  [[nodiscard]] std::uint64_t takeTurn();
  void keep(std::uint64_t turn, AnyCancellable token);

  std::mutex mutex_;  // guards what follows
  std::uint64_t lastTurn_ = 0;
  std::uint64_t keptTurn_ = 0;
  AnyCancellable kept_;
};

}  // namespace vellora
