#pragma once

#include <string>

namespace vellora::tests {

/// An error with the text that a test gives it.
struct TestError {
  std::string text;
  [[nodiscard]] std::string localizedDescription() const { return text; }
};

}  // namespace vellora::tests
