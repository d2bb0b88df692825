#include "hostkit/cache/sqlite/SQLiteFileSet.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <string_view>

#include "hostkit/cache/sqlite/FileNaming.h"

namespace vellora::hostkit::sqliteFileSet {

namespace {

constexpr std::array<std::string_view, 3> companions = {"-wal", "-shm", "-journal"};

std::string companion(const std::string& path, std::string_view suffix) {
  return path + std::string(suffix);
}

std::string nextFreeName(const std::string& path) {
  std::string target;
  int number = 0;
  do {
    target = path + ".damaged-" + std::to_string(++number);
  } while (nameIsTaken(target) || hasCompanions(target));
  return target;
}

}  // namespace

bool hasCompanions(const std::string& path) {
  return std::any_of(companions.begin(), companions.end(),
                     [&path](std::string_view suffix) { return nameIsTaken(companion(path, suffix)); });
}

int setAside(const std::string& path) {
  const std::string target = nextFreeName(path);
  if (nameIsTaken(path) && std::rename(path.c_str(), target.c_str()) != 0) return errno;
  for (const auto suffix : companions) {
    const std::string from = companion(path, suffix);
    if (nameIsTaken(from) && std::rename(from.c_str(), companion(target, suffix).c_str()) != 0) return errno;
  }
  return 0;
}

void remove(const std::string& path) {
  for (const auto suffix : companions) unlink(companion(path, suffix).c_str());
  unlink(path.c_str());
}

}  // namespace vellora::hostkit::sqliteFileSet
