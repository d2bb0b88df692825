#pragma once

#include <string>

#include "vellora/Platform/Error.h"

namespace vellora {

/// What a producer ends with when one of its steps could not get memory.
struct OutOfMemory {
  [[nodiscard]] std::string localizedDescription() const;
};

/// That error, made when the program starts: handing it out takes no memory.
[[nodiscard]] const Error& outOfMemory() noexcept;

}  // namespace vellora
