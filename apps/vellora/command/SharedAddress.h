#pragma once

#include <string>

namespace vellora::command {

/// Whether `cache` is the address of a Redis, which many machines may share, and not the name of a file.
[[nodiscard]] bool isShared(const std::string& cache);

/// Whether `cache` is an address of any kind, which is no name of a file.
[[nodiscard]] bool isAddress(const std::string& cache);

}  // namespace vellora::command
