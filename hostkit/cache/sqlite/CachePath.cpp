#include "hostkit/cache/sqlite/CachePath.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "hostkit/cache/sqlite/SQLiteCacheError.h"
#include "hostkit/cache/sqlite/SQLiteResultCodes.h"

namespace vellora::hostkit::cachePath {

namespace {

namespace fs = std::filesystem;

/// What keeps a folder from being there.
struct Obstacle {
  std::string folder;
  std::string reason;
};

Obstacle obstacle(const fs::path& folder, int number) {
  // What is forbidden is forbidden by the folder above.
  const bool isForbidden = number == EACCES || number == EPERM;
  return {(isForbidden ? folder.parent_path() : folder).string(), std::generic_category().message(number)};
}

/// 0 for a folder, or a link to one; else the `errno` that tells why not.
int lookAt(const fs::path& folder) {
  struct stat status {};
  if (stat(folder.c_str(), &status) != 0) return errno;
  return S_ISDIR(status.st_mode) ? 0 : ENOTDIR;
}

std::optional<Obstacle> createFolder(const fs::path& folder) {
  const int found = lookAt(folder);
  if (found == 0) return std::nullopt;
  if (found != ENOENT) return obstacle(folder, found);
  if (mkdir(folder.c_str(), 0700) == 0) return std::nullopt;
  const int number = errno;
  if (number != EEXIST) return obstacle(folder, number);
  // Another process was quicker, or it is a link.
  if (lookAt(folder) == 0) return std::nullopt;
  return Obstacle{folder.string(), "it is a link that leads nowhere"};
}

/// From the root downwards, so that the first obstacle is the one that counts.
std::optional<Obstacle> createFoldersDownTo(const fs::path& folder) {
  fs::path reached;
  for (const auto& name : folder) {
    reached /= name;
    if (auto found = createFolder(reached)) return found;
  }
  return std::nullopt;
}

Error errorFor(const std::string& path, const Obstacle& found) {
  return SQLiteCacheError{SQLiteCacheError::Reason::unwritable, path,
                          "the folder \"" + found.folder + "\": " + found.reason};
}

bool isName(const std::string& path) {
  return !path.empty() && path.find('\0') == std::string::npos;
}

}  // namespace

Result<std::string> resolved(const std::string& path) {
  if (!isName(path)) return errorForErrno(path, EINVAL);
  std::error_code failure;
  const auto absolute = fs::absolute(path, failure);
  if (failure) {
    return Error(SQLiteCacheError{SQLiteCacheError::Reason::unwritable, path,
                                  "the working folder: " + failure.message()});
  }
  const auto canonical = fs::weakly_canonical(absolute, failure);
  return failure ? absolute.string() : canonical.string();
}

std::string folderOf(const std::string& path) {
  return fs::path(path).parent_path().string();
}

std::optional<Error> createFolders(const std::string& path) {
  const auto found = createFoldersDownTo(fs::path(path).parent_path());
  return found ? std::optional(errorFor(path, *found)) : std::nullopt;
}

Error folderError(const std::string& path, int number) {
  return errorFor(path, {folderOf(path), std::generic_category().message(number)});
}

bool isOfAnotherUser(const std::string& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) return false;
  return status.st_uid != geteuid();
}

}  // namespace vellora::hostkit::cachePath
