#include "hostkit/cache/redis/LeaseWait.h"

namespace vellora::hostkit {

using Seconds = std::chrono::duration<double>;

double LeaseWait::shareOf(std::string_view bytes) {
  if (bytes.size() < 2) return 1;
  const auto high = static_cast<unsigned char>(bytes[0]);
  const auto low = static_cast<unsigned char>(bytes[1]);
  return (high * 256 + low + 1) / 65536.0;
}

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
