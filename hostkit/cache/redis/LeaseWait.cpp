#include "hostkit/cache/redis/LeaseWait.h"

namespace vellora::hostkit {

using Seconds = std::chrono::duration<double>;

bool LeaseWait::isOver(Moment present) const {
  if (waited(present) >= longest_) return true;
  if (!failedSince_) return false;
  return !hasHolder_ || Seconds(present - *failedSince_) >= Seconds(lease_) * share_;
}

double LeaseWait::waited(Moment present) const {
  return Seconds(present - since_).count();
}

void LeaseWait::noteHolder() {
  hasHolder_ = true;
  failedSince_.reset();
}

void LeaseWait::noteFailure(Moment present) {
  if (!failedSince_) failedSince_ = present;
}

}  // namespace vellora::hostkit
