#include "hostkit/cache/sqlite/FolderLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <thread>

#include "hostkit/cache/sqlite/CachePath.h"
#include "hostkit/cache/sqlite/SQLiteCacheError.h"

namespace vellora::hostkit {

namespace {

constexpr int mostAttempts = 200;
constexpr std::chrono::milliseconds pause(10);

}  // namespace

FolderLock::FolderLock(const std::string& folder)
    : descriptor_(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
      failure_(descriptor_ < 0 ? errno : 0) {
  for (int left = mostAttempts; left > 0 && descriptor_ >= 0; --left) {
    held_ = flock(descriptor_, LOCK_EX | LOCK_NB) == 0;
    if (held_ || errno != EWOULDBLOCK) return;
    std::this_thread::sleep_for(pause);
  }
}

FolderLock::~FolderLock() {
  if (descriptor_ >= 0) close(descriptor_);
}

Error FolderLock::error(const std::string& path) const {
  if (failure_ != 0) return cachePath::folderError(path, failure_);
  return SQLiteCacheError{SQLiteCacheError::Reason::locked, path, "its folder is in use"};
}

}  // namespace vellora::hostkit
