#include "vellora/Platform/OutOfMemory.h"

namespace vellora {

namespace {

const Error made = OutOfMemory();

}  // namespace

std::string OutOfMemory::localizedDescription() const {
  return defaultErrorDescription("OutOfMemory", "outOfMemory", std::nullopt);
}

const Error& outOfMemory() noexcept {
  return made;
}

}  // namespace vellora
