#include "vellora/DataServices/Expiry.h"

namespace vellora {

bool Expiry::isPast(Date downloadedTime) const {
  return now().secondsSince(downloadedTime) > cacheTimeout_;
}

}  // namespace vellora
