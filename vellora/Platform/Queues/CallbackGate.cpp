#include "vellora/Platform/Queues/CallbackGate.h"

namespace vellora {

CallbackGate::Visit::Visit(CallbackGate& gate) : gate_(gate) {
  const std::lock_guard lock(gate_.mutex_);
  isAdmitted_ = !gate_.isClosed_;
  if (!isAdmitted_) return;
  before_ = gate_.newest_;
  if (before_) before_->behind_ = this;
  gate_.newest_ = this;
}

CallbackGate::Visit::~Visit() {
  if (!isAdmitted_) return;
  const std::lock_guard lock(gate_.mutex_);
  if (before_) before_->behind_ = behind_;
  (behind_ ? behind_->before_ : gate_.newest_) = before_;
  gate_.left_.notify_all();
}

void CallbackGate::close() {
  const auto here = std::this_thread::get_id();
  const auto isEmpty = [&] {
    const Visit* visit = newest_;
    while (visit && visit->thread_ == here) visit = visit->before_;
    return visit == nullptr;
  };
  std::unique_lock lock(mutex_);
  isClosed_ = true;
  left_.wait(lock, isEmpty);
}

bool CallbackGate::isClosed() const {
  const std::lock_guard lock(mutex_);
  return isClosed_;
}

bool CallbackGate::isInside() const {
  const auto here = std::this_thread::get_id();
  const std::lock_guard lock(mutex_);
  for (const Visit* visit = newest_; visit; visit = visit->before_) {
    if (visit->thread_ == here) return true;
  }
  return false;
}

}  // namespace vellora
