#include "hostkit/cache/sqlite/SQLiteFileSet.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

#include "hostkit/cache/sqlite/CachePath.h"
#include "hostkit/cache/sqlite/FileNaming.h"

namespace vellora::hostkit::sqliteFileSet {

namespace {

constexpr std::array<std::string_view, 3> companions = {"-wal", "-shm", "-journal"};

std::string companion(const std::string& path, std::string_view suffix) {
  return path + std::string(suffix);
}

constexpr std::string_view asideMark = ".damaged-";

/// Whether `name` is of a file that was set aside from the one named `base`, or of a companion of such a
/// file.
bool wasSetAside(std::string_view name, const std::string& base) {
  if (!name.starts_with(base + std::string(asideMark))) return false;
  name.remove_prefix(base.size() + asideMark.size());
  const auto digits = std::min(name.find_first_not_of("0123456789"), name.size());
  const std::string_view suffix = name.substr(digits);
  return digits > 0 &&
         (suffix.empty() || std::find(companions.begin(), companions.end(), suffix) != companions.end());
}

/// The paths of all files that were set aside from `path`; `number` is the `errno` of what went wrong.
std::vector<std::string> allSetAside(const std::string& path, int& number) {
  const std::filesystem::path file(path);
  std::vector<std::string> found;
  std::error_code failure;
  std::filesystem::directory_iterator next(file.parent_path(), failure);
  for (; next != std::filesystem::directory_iterator(); next.increment(failure)) {
    if (wasSetAside(next->path().filename().string(), file.filename().string()))
      found.push_back(next->path().string());
  }
  number = failure.value();
  return found;
}

/// 0, or the `errno` of what went wrong. What is not there is removed.
int removeFile(const std::string& path) {
  return unlink(path.c_str()) == 0 || errno == ENOENT ? 0 : errno;
}

std::string nextFreeName(const std::string& path) {
  std::string target;
  int number = 0;
  do {
    target = path + std::string(asideMark) + std::to_string(++number);
  } while (nameIsTaken(target) || hasCompanions(target));
  return target;
}

}  // namespace

bool hasCompanions(const std::string& path) {
  return std::any_of(companions.begin(), companions.end(),
                     [&path](std::string_view suffix) { return nameIsTaken(companion(path, suffix)); });
}

std::optional<std::string> anotherUsersFile(const std::string& path) {
  if (cachePath::isOfAnotherUser(path)) return path;
  for (const auto suffix : companions) {
    if (cachePath::isOfAnotherUser(companion(path, suffix))) return companion(path, suffix);
  }
  return std::nullopt;
}

int setAside(const std::string& path) {
  const std::string target = nextFreeName(path);
  if (nameIsTaken(path) && std::rename(path.c_str(), target.c_str()) != 0) return errno;
  for (const auto suffix : companions) {
    const std::string from = companion(path, suffix);
    if (nameIsTaken(from) && std::rename(from.c_str(), companion(target, suffix).c_str()) != 0) return errno;
  }
  syncFolder(cachePath::folderOf(path));
  return 0;
}

void remove(const std::string& path) {
  for (const auto suffix : companions) unlink(companion(path, suffix).c_str());
  unlink(path.c_str());
}

int removeAll(const std::string& path) {
  int number = 0;
  std::vector<std::string> doomed = allSetAside(path, number);
  for (const auto suffix : companions) doomed.push_back(companion(path, suffix));
  doomed.push_back(path);
  for (auto next = doomed.begin(); next != doomed.end() && number == 0; ++next) number = removeFile(*next);
  syncFolder(cachePath::folderOf(path));
  return number;
}

}  // namespace vellora::hostkit::sqliteFileSet
