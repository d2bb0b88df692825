#pragma once

#include <string>
#include <vector>

namespace vellora::command {

/// What is known of a command line that was not understood.
struct MisreadLine {
  std::vector<std::string> unknown;   ///< the words that nothing takes, in their order
  std::vector<std::string> path;      ///< the commands that were understood, such as "cache", "purge"
  std::vector<std::string> commands;  ///< what may stand behind them
  std::vector<std::string> options;   ///< all that may stand here, as "--wait"
  std::string complaint;              ///< the parser's own, which holds no word of the line; may be empty
};

/// What is wrong with it, and the nearest command or option that there is. No word is repeated that may be a
/// secret: of an option only its name, of other words only what looks like a command.
[[nodiscard]] std::string usageError(const MisreadLine& line);

}  // namespace vellora::command
