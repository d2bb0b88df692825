#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>

namespace vellora::recordsserver {

/// What the command line asks for.
struct Arguments {
  std::uint16_t port = 0;
  std::string portFile;
  std::string dataFolder;
  std::optional<std::size_t> generatedTypes;
  std::string tokenFile;
  std::string logFile;
  bool exitWithStdin = false;
  unsigned delayMilliseconds = 0;
  std::optional<int> failStatus;
  std::optional<std::size_t> truncateBytes;
  bool drop = false;
  bool garbage = false;
  bool gzip = false;
  std::string wrongTags;
};

/// The arguments, or the program's exit code when there is nothing left to do: 0 after help was printed, 2
/// after a mistake was told.
[[nodiscard]] std::variant<Arguments, int> readArguments(int argc, const char* const* argv);

}  // namespace vellora::recordsserver
