#include "vellora/Catalog/Watches.h"

#include <algorithm>
#include <utility>

namespace vellora {

void Watches::add(std::shared_ptr<WatchBase> watch) {
  const std::lock_guard lock(mutex_);
  all_.push_back(std::move(watch));
}

void Watches::remove(const WatchBase& watch) {
  std::shared_ptr<WatchBase> removed;  // destroyed outside the lock
  const std::lock_guard lock(mutex_);
  const auto found =
      std::find_if(all_.begin(), all_.end(), [&](const auto& each) { return each.get() == &watch; });
  if (found == all_.end()) return;
  removed = std::move(*found);
  all_.erase(found);
}

void Watches::askAgain() const {
  for (const auto& watch : all()) watch->askAgain();
}

void Watches::forget() const {
  for (const auto& watch : all()) watch->forget();
}

Watches::All Watches::all() const {
  const std::lock_guard lock(mutex_);
  return all_;
}

}  // namespace vellora
