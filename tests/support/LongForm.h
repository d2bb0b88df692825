#pragma once

#include <cstdlib>
#include <optional>

namespace vellora::tests {

/// How much of something a test's long form tries, which scripts/soak asks for by the environment variable
/// VELLORA_TEST_…; none in the short form, which scripts/test runs.
inline std::optional<int> longForm(const char* variable) {
  const char* given = std::getenv(variable);
  return given != nullptr ? std::optional(std::atoi(given)) : std::nullopt;
}

}  // namespace vellora::tests
