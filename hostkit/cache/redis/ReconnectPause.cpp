#include "hostkit/cache/redis/ReconnectPause.h"

#include <algorithm>

namespace vellora::hostkit {

void ReconnectPause::noteFailure(Moment present) {
  end_ = present + next_;
  next_ = std::min(next_ * 2, longest_);
}

void ReconnectPause::noteSuccess() {
  end_ = Moment::min();
  next_ = first_;
}

}  // namespace vellora::hostkit
