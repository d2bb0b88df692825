#pragma once

#include <optional>
#include <string>

#include "apps/vellora/command/Problem.h"

namespace vellora::command {

/// The folder of the default cache files: "vellora" in the user's cache folder ($XDG_CACHE_HOME, else
/// ~/.cache). No value when the user has none.
[[nodiscard]] std::optional<std::string> defaultCacheFolder();

/// The server's address as the beginning of a file's name: letters, digits, dots and hyphens. A user's name
/// and password in the address are left out.
[[nodiscard]] std::string readableName(const std::string& server);

/// The cache file of a server that is asked without a token, in the folder of the default cache files: one
/// for each server, since cached answers don't say whose they are. A user's name and password in the address
/// are left out. No value when the user has no such folder.
[[nodiscard]] std::optional<std::string> defaultCacheFile(const std::string& server);

/// What to say when the user has no such folder.
[[nodiscard]] Problem noCacheFolder();

}  // namespace vellora::command
