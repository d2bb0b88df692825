#pragma once

#include <string>

#include "vellora/Platform/Values/Error.h"

namespace vellora::tests {

struct ErrorWithoutType {
  [[nodiscard]] std::string localizedDescription() const { return "no type"; }
};

// Both are compiled without run-time type information.
[[nodiscard]] Error errorWithoutType();
[[nodiscard]] bool isErrorWithoutType(const Error& error);

}  // namespace vellora::tests
