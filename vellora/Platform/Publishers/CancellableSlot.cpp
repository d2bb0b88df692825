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
  token.cancel();  // the one that isn't kept; what it frees may destroy this slot
}

}  // namespace vellora
