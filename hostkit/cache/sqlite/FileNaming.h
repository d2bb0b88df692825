#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>

namespace vellora::hostkit {

/// Whether anything has that name, be it a link that leads nowhere.
[[nodiscard]] inline bool nameIsTaken(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0;
}

/// Gives the complete file `made` the name `path` in the same folder, unless that is taken; it may keep its
/// first name, too. 0, or the `errno` of what went wrong: EEXIST for a name that is taken.
///
/// On a disk without hard links a moment passes between the look at the name and the renaming. A file that
/// another process puts there in that moment is replaced.
[[nodiscard]] inline int nameFile(const std::string& made, const std::string& path) {
  if (link(made.c_str(), path.c_str()) == 0) return 0;
  const bool noLinksHere = errno == EPERM || errno == EOPNOTSUPP || errno == ENOSYS;
  if (!noLinksHere) return errno;
  if (nameIsTaken(path)) return EEXIST;
  return std::rename(made.c_str(), path.c_str()) == 0 ? 0 : errno;
}

/// Makes durable which names there are in the folder at `path`, as far as the system does that for folders.
inline void syncFolder(const std::string& path) {
  const int descriptor = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return;
  fsync(descriptor);
  close(descriptor);
}

}  // namespace vellora::hostkit
