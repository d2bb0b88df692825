#include "vellora/DataServices/Expiry.h"

namespace vellora {

bool Expiry::isPast(Date downloadedTime) {
  if (!now_) now_ = now();
  return now_->secondsSince(downloadedTime) > cacheTimeout_;
}

}  // namespace vellora
