#include "vellora/Platform/Values/OutOfMemory.h"

namespace vellora {

namespace {

// Made before memory can run out, and never destroyed: what still runs while the process ends may need it.
const Error& made = *new Error(OutOfMemory());  // NOLINT(cppcoreguidelines-owning-memory)

}  // namespace

std::string OutOfMemory::localizedDescription() const {
  return defaultErrorDescription("OutOfMemory", "outOfMemory", std::nullopt);
}

const Error& outOfMemory() noexcept {
  return made;
}

}  // namespace vellora
