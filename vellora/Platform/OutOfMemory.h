#pragma once

#include <string>

#include "vellora/Platform/Error.h"
#include "vellora/Platform/Export.h"

namespace vellora {

/// What a producer ends with when one of its steps could not get memory.
struct VELLORA_EXPORT OutOfMemory {
  [[nodiscard]] std::string localizedDescription() const;
};

/// That error, made when the program starts: handing it out takes no memory.
[[nodiscard]] VELLORA_EXPORT const Error& outOfMemory() noexcept;

}  // namespace vellora
