#include "vellora/Platform/Publishers/SerialGate.h"

namespace vellora {

void SerialGate::enqueue(Action action) {
  const std::lock_guard lock(mutex_);
  waiting_.push_back(std::move(action));
}

void SerialGate::drain() {
  {
    const std::lock_guard lock(mutex_);
    if (busy_) return;
    busy_ = true;
  }
  runWaiting();
}

void SerialGate::runWaiting() {
  while (true) {
    std::vector<Action> batch;
    {
      const std::lock_guard lock(mutex_);
      if (waiting_.empty()) {
        busy_ = false;
        return;
      }
      batch.swap(waiting_);
    }
    for (Action& action : batch) {
      action();
      action = nullptr;  // what it captured goes before the next one runs
    }
  }
}

}  // namespace vellora
