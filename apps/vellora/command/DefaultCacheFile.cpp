#include "apps/vellora/command/DefaultCacheFile.h"

#include <zlib.h>

#include <array>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace vellora::command {

namespace {

std::optional<std::string> cacheFolder() {
  const char* xdg = std::getenv("XDG_CACHE_HOME");
  if (xdg != nullptr && *xdg == '/') return std::string(xdg);  // a relative one is to be ignored
  const char* home = std::getenv("HOME");
  if (home != nullptr && *home == '/') return std::string(home) + "/.cache";
  return std::nullopt;
}

/// Whether `text`, which an address has before an "@", is "user:password", where the password may hold what
/// ends a host elsewhere: not "host/path" nor "host:8080/path".
bool isUserAndPassword(std::string_view text) {
  const auto colon = text.find(':');
  if (colon == std::string_view::npos || text.find_first_of("/?#") < colon) return false;
  const auto behind = text.substr(colon + 1);
  return behind.find_first_not_of("0123456789") < behind.find_first_of("/?#");
}

/// `server` without "user:password@", which has no place in the name of a file.
std::string withoutUser(std::string server) {
  const auto scheme = server.find("://");
  const auto begin = scheme == std::string::npos ? 0 : scheme + 3;
  auto at = server.rfind('@');
  const bool isInAuthority = at != std::string::npos && at >= begin &&
                             isUserAndPassword(std::string_view(server).substr(begin, at - begin));
  if (!isInAuthority) at = server.substr(0, server.find_first_of("/?#", begin)).rfind('@');
  if (at != std::string::npos && at >= begin) server.erase(begin, at + 1 - begin);
  return server;
}

// The checksum in it keeps servers apart whose addresses differ only in their punctuation.
std::string fileName(const std::string& server) {
  const auto sum =
      ::crc32(0, reinterpret_cast<const Bytef*>(server.data()), static_cast<uInt>(server.size()));
  std::array<char, 16> hex{};
  std::snprintf(hex.data(), hex.size(), "-%08lx", sum);
  return readableName(server) + hex.data() + ".sqlite";
}

}  // namespace

std::optional<std::string> defaultCacheFolder() {
  const auto folder = cacheFolder();
  return folder ? std::optional(*folder + "/vellora") : std::nullopt;
}

std::string readableName(const std::string& server) {
  constexpr std::size_t longest = 100;
  std::string name;
  for (const char c : withoutUser(server).substr(0, longest)) {
    const bool isPlain = std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '.';
    if (isPlain || (!name.empty() && name.back() != '-')) name += isPlain ? c : '-';
  }
  return name;
}

std::optional<std::string> defaultCacheFile(const std::string& server) {
  const auto folder = defaultCacheFolder();
  if (!folder) return std::nullopt;
  return *folder + "/" + fileName(withoutUser(server));
}

Problem noCacheFolder() {
  return {ExitCode::usage, "no folder for the cache: set HOME or XDG_CACHE_HOME, or give --cache FILE"};
}

}  // namespace vellora::command
