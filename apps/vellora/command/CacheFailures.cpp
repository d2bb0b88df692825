#include "apps/vellora/command/CacheFailures.h"

namespace vellora::command {

void CacheFailures::note(const hostkit::SQLiteCacheFailure& failure) {
  const std::lock_guard lock(mutex_);
  if (!first_) first_ = failure.localizedDescription();
}

std::optional<std::string> CacheFailures::first() const {
  const std::lock_guard lock(mutex_);
  return first_;
}

}  // namespace vellora::command
