#include "vellora/Platform/Publishers/Cancellables.h"

#include <utility>

namespace vellora {

void Cancellables::insert(AnyCancellable token) {
  if (!token.scope_ || !token.scope_->isActive()) return;
  scope_.adopt(*token.scope_);
  std::move(token).detach();
}

}  // namespace vellora
