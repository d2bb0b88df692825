#include "apps/vellora/command/SharedAddress.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace vellora::command {

namespace {

/// Whatever the user's language is.
char lowercase(char letter) {
  return 'A' <= letter && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

}  // namespace

bool isShared(const std::string& cache) {
  constexpr std::array<std::string_view, 3> schemes{"redis://", "rediss://", "redis+unix://"};
  return std::any_of(schemes.begin(), schemes.end(), [&cache](std::string_view scheme) {
    return std::equal(scheme.begin(), scheme.end(), cache.begin(),
                      cache.begin() + static_cast<std::ptrdiff_t>(std::min(scheme.size(), cache.size())),
                      [](char one, char other) { return one == lowercase(other); });
  });
}

bool isAddress(const std::string& cache) {
  return cache.find("://") != std::string::npos;
}

}  // namespace vellora::command
