#include "apps/vellora/command/CacheFailures.h"

#include <utility>

namespace vellora::command {

CacheFailures::CacheFailures(std::shared_ptr<const hostkit::KnownSecrets> secrets)
    : secrets_(std::move(secrets)) {}

void CacheFailures::note(const hostkit::SQLiteCacheFailure& failure) {
  note(failure.localizedDescription());
}

void CacheFailures::note(const std::string& failure) {
  const std::lock_guard lock(mutex_);
  if (!first_) first_ = secrets_->cleaned(failure);
}

std::optional<std::string> CacheFailures::first() const {
  const std::lock_guard lock(mutex_);
  return first_;
}

}  // namespace vellora::command
