#pragma once

#include <string>

namespace vellora::http {

/// Why a server could not be started: a sentence for a person.
struct ListenError {
  std::string text;

  [[nodiscard]] const std::string& localizedDescription() const noexcept { return text; }
};

}  // namespace vellora::http
