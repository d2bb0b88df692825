#pragma once

#include <optional>

#include "vellora/Platform/Values/Error.h"

namespace vellora {

/// How a producer ended: with an error, or (no value) normally.
using Completion = std::optional<Error>;

}  // namespace vellora
