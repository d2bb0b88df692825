#pragma once

#include <optional>
#include <string>

namespace vellora::command {

/// What a configuration file is, before anybody understands it.
struct ConfigurationFile {
  std::string text;
  std::optional<std::string> otherWriter;  ///< as in `Configuration`
  std::optional<std::string> failure;      ///< why it cannot be read; the text is empty then
  bool exists = false;
};

/// Reads at most 1 MB of the file.
[[nodiscard]] ConfigurationFile readConfigurationFile(const std::string& file);

}  // namespace vellora::command
