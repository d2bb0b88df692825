#include "vellora/Platform/Publishers/CancellableSlot.h"

namespace vellora {

std::uint64_t CancellableSlot::takeTurn() {
  const std::lock_guard lock(mutex_);
  return ++lastTurn_;
}

void CancellableSlot::keep(std::uint64_t turn, AnyCancellable token) {
  {
    const std::lock_guard lock(mutex_);
    if (turn > keptTurn_) {
      keptTurn_ = turn;
      kept_.swap(token);
    }
  }
  // `token` is now the one that is not kept. Cancelling it may destroy this slot, so it comes last and
  // without the lock.
  token.cancel();
}

}  // namespace vellora
