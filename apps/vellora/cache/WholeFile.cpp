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

/// Why what has the name `file` is not to be replaced, whoever asks; no value for a plain file, and for a
/// name that is free. `mode` is what the new file is to have.
std::optional<Problem> whyNotReplaced(const std::string& file, mode_t& mode) {
  struct stat status {};
  if (::lstat(file.c_str(), &status) != 0) return std::nullopt;
  constexpr mode_t permissions = 0777;
  mode = status.st_mode & permissions;
  if (S_ISREG(status.st_mode)) return std::nullopt;
  const char* const kind = S_ISLNK(status.st_mode) ? " is a link" : " is no plain file";
  return Problem{ExitCode::usage, file + kind + ", and was left as it is; choose another file"};
}

}  // namespace

std::optional<Problem> writeWholeFile(const std::string& file, std::string_view content, bool replace) {
  const auto failed = [&file](int number) {
    return Problem{ExitCode::unexpected, "cannot write " + file + ": " + std::strerror(number)};
  };
  mode_t mode = S_IRUSR | S_IWUSR;
  if (replace) {
    if (auto problem = whyNotReplaced(file, mode)) return problem;
  }
  std::string made = file + ".XXXXXX";
  const int descriptor = ::mkostemp(made.data(), O_CLOEXEC);
  if (descriptor < 0) return failed(errno);
  int number = writeAll(descriptor, content);
  if (number == 0 && ::fchmod(descriptor, mode) != 0) number = errno;
  // Else a loss of power could leave a name that leads to nothing, in place of the file that had it.
  if (number == 0 && ::fsync(descriptor) != 0) number = errno;
  if (::close(descriptor) != 0 && number == 0) number = errno;
  if (number == 0) number = replace ? replaceFile(made, file) : nameFile(made, file);
  ::unlink(made.c_str());
  if (number == EEXIST && !replace)
    return Problem{ExitCode::usage, file + " exists already; write over it with --replace"};
  return number == 0 ? std::nullopt : std::optional(failed(number));
}

}  // namespace vellora::command
