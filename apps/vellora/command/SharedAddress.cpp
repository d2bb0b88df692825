#include "apps/vellora/command/SharedAddress.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace vellora::command {

bool isShared(const std::string& cache) {
  constexpr std::array<std::string_view, 3> schemes{"redis://", "rediss://", "redis+unix://"};
  return std::any_of(schemes.begin(), schemes.end(),
                     [&cache](std::string_view scheme) { return cache.starts_with(scheme); });
}

}  // namespace vellora::command
