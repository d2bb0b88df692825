#pragma once

#include <string>

#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// What a producer ends with when one of its steps could not get memory.
struct VELLORA_EXPORT OutOfMemory {
  [[nodiscard]] std::string localizedDescription() const;
};

/// That error, made when the program starts: handing it out takes no memory.
[[nodiscard]] VELLORA_EXPORT const Error& outOfMemory() noexcept;

}  // namespace vellora
