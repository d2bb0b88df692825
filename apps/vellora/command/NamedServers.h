#pragma once

#include <optional>
#include <string>

#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/Problem.h"

namespace vellora::command {

/// What of the arguments somebody gave, by an option or a variable. The configuration does not replace it.
struct Given {
  bool theme = false;
  bool token = false;
  bool cache = false;
  bool cachePassword = false;
};

/// Whether `server` can be looked up in the configuration, rather than being an address.
[[nodiscard]] bool mayBeAName(const std::string& server);

/// Puts the address of the server that `arguments` name in place of its name, and its token, theme and cache
/// where none are given. Without a server it is the configuration's own. Reads the configuration for that,
/// and for nothing else; what is worth knowing of the file becomes a note of the arguments.
[[nodiscard]] std::optional<Problem> useNamedServer(Arguments& arguments, const Given& given);

}  // namespace vellora::command
