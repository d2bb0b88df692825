#include "apps/vellora/command/StandardDescriptors.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace vellora::command {

namespace {

bool isClosed(int descriptor) {
  return ::fcntl(descriptor, F_GETFD) == -1 && errno == EBADF;
}

/// Opens the lowest free descriptor, which is that one when those below are open.
bool openAs(int descriptor, int way) {
  return ::open("/dev/null", way) == descriptor;
}

}  // namespace

bool openStandardDescriptors() {
  if (isClosed(STDIN_FILENO) && !openAs(STDIN_FILENO, O_WRONLY)) return false;
  if (isClosed(STDOUT_FILENO) && !openAs(STDOUT_FILENO, O_RDONLY)) return false;
  return !isClosed(STDERR_FILENO) || openAs(STDERR_FILENO, O_WRONLY);
}

}  // namespace vellora::command
