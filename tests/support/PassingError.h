#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "vellora/Platform/Values/RetryAdvice.h"

namespace vellora::tests {

/// An error of which a network says that it may pass.
struct PassingError {
  std::string text = "busy";
  std::optional<std::chrono::duration<double>> after = {};

  [[nodiscard]] std::string localizedDescription() const { return text; }
  [[nodiscard]] std::optional<RetryAdvice> retryAdvice() const { return RetryAdvice{after}; }
};

}  // namespace vellora::tests
