#pragma once

#include <string>

namespace vellora::recordsserver {

/// Why a data set could not be read or a server could not start: one sentence for the person who started it.
struct DataError {
  std::string message;

  [[nodiscard]] std::string localizedDescription() const { return message; }
};

}  // namespace vellora::recordsserver
