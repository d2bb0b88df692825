#pragma once

#include <string>

#include "vellora/Platform/Values/Error.h"

namespace vellora::tests {

struct ErrorWithoutType {
  [[nodiscard]] std::string localizedDescription() const { return "no type"; }
};

/// An `ErrorWithoutType`, made in a source that is compiled without run-time type information.
[[nodiscard]] Error errorWithoutType();

}  // namespace vellora::tests
