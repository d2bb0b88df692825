#pragma once

#include <cstdlib>
#include <string>

namespace vellora::releases {

/// Whether the fault of that number, which plant_faults.py has put into a source, is to show.
[[nodiscard]] inline bool isAwake(int number) {
  const char* awake = std::getenv("VELLORA_TEST_FAULT");
  return awake != nullptr && std::to_string(number) == awake;
}

}  // namespace vellora::releases
