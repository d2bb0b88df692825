#include "apps/vellora/command/DefaultCacheFile.h"

#include <zlib.h>

#include <array>
#include <cctype>
#include <cstdio>
#include <cstdlib>

namespace vellora::command {

namespace {

std::optional<std::string> cacheFolder() {
  const char* xdg = std::getenv("XDG_CACHE_HOME");
  if (xdg != nullptr && *xdg == '/') return std::string(xdg);  // a relative one is to be ignored
  const char* home = std::getenv("HOME");
  if (home != nullptr && *home == '/') return std::string(home) + "/.cache";
  return std::nullopt;
}

/// `server` without "user:password@", which has no place in the name of a file.
std::string withoutUser(std::string server) {
  const auto scheme = server.find("://");
  const auto begin = scheme == std::string::npos ? 0 : scheme + 3;
  const auto at = server.substr(0, server.find_first_of("/?#", begin)).rfind('@');
  if (at != std::string::npos && at >= begin) server.erase(begin, at + 1 - begin);
  return server;
}

// A readable name. The checksum in it keeps servers apart whose addresses differ only in their punctuation.
std::string fileName(const std::string& server) {
  constexpr std::size_t longest = 100;
  std::string name;
  for (const char c : server.substr(0, longest)) {
    const bool isPlain = std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '.';
    if (isPlain || (!name.empty() && name.back() != '-')) name += isPlain ? c : '-';
  }
  const auto sum =
      ::crc32(0, reinterpret_cast<const Bytef*>(server.data()), static_cast<uInt>(server.size()));
  std::array<char, 16> hex{};
  std::snprintf(hex.data(), hex.size(), "-%08lx", sum);
  return name + hex.data() + ".sqlite";
}

}  // namespace

std::optional<std::string> defaultCacheFile(const std::string& server) {
  const auto folder = cacheFolder();
  if (!folder) return std::nullopt;
  return *folder + "/vellora/" + fileName(withoutUser(server));
}

}  // namespace vellora::command
