#include "apps/vellora/cache/WholeFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace vellora::command {

namespace {

// Each of these gives 0, or the `errno` of what went wrong.

/// Writes every byte, also when signals come in between.
int writeAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto count = ::write(descriptor, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return errno;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return 0;
}

int replaceFile(const std::string& made, const std::string& file) {
  return std::rename(made.c_str(), file.c_str()) == 0 ? 0 : errno;
}

/// EEXIST for a name that is taken, be it by a link that leads nowhere.
int nameFile(const std::string& made, const std::string& file) {
  if (::link(made.c_str(), file.c_str()) == 0) return 0;
  const bool noLinksHere = errno == EPERM || errno == EOPNOTSUPP || errno == ENOSYS;
  if (!noLinksHere) return errno;
  struct stat status {};
  return ::lstat(file.c_str(), &status) == 0 ? EEXIST : replaceFile(made, file);
}

}  // namespace

std::optional<Problem> writeWholeFile(const std::string& file, std::string_view content, bool replace) {
  const auto failed = [&file](int number) {
    return Problem{ExitCode::unexpected, "cannot write " + file + ": " + std::strerror(number)};
  };
  std::string made = file + ".XXXXXX";
  const int descriptor = ::mkostemp(made.data(), O_CLOEXEC);
  if (descriptor < 0) return failed(errno);
  int number = writeAll(descriptor, content);
  if (::close(descriptor) != 0 && number == 0) number = errno;
  if (number == 0) number = replace ? replaceFile(made, file) : nameFile(made, file);
  ::unlink(made.c_str());
  if (number == EEXIST && !replace)
    return Problem{ExitCode::usage, file + " exists already; write over it with --replace"};
  return number == 0 ? std::nullopt : std::optional(failed(number));
}

}  // namespace vellora::command
