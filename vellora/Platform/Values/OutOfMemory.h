#pragma once

#include <string>

#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// What a producer ends with when one of its steps could not get memory. On the thread of a caller the
/// library throws `std::bad_alloc` instead; this error is for what happens later, out of the caller's sight.
///
///     if (error.as<OutOfMemory>()) dropImageCaches();
struct VELLORA_EXPORT OutOfMemory {
  /// "The operation could not be completed. (OutOfMemory.outOfMemory)"
  [[nodiscard]] std::string localizedDescription() const;
};

/// That error, made when the program starts: handing it out takes no memory. It is never destroyed, so that
/// what still runs while the process ends may use it.
[[nodiscard]] VELLORA_EXPORT const Error& outOfMemory() noexcept;

}  // namespace vellora
