#include "vellora/Platform/Publishers/Cancellables.h"

#include <utility>

namespace vellora {

void Cancellables::insert(AnyCancellable token) {
  const std::lock_guard lock(mutex_);
  tokens_.push_back(std::move(token));
}

std::size_t Cancellables::size() const {
  const std::lock_guard lock(mutex_);
  return tokens_.size();
}

}  // namespace vellora
