#pragma once

#include <optional>
#include <string>

namespace vellora::command {

/// The cache file of a server under the user's cache folder ($XDG_CACHE_HOME, else ~/.cache), one for each
/// server, since cached answers don't say whose they are. A user's name and password in the address are left
/// out. No value when the user has no such folder.
[[nodiscard]] std::optional<std::string> defaultCacheFile(const std::string& server);

}  // namespace vellora::command
