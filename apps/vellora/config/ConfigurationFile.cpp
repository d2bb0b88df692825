#include "apps/vellora/config/ConfigurationFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

namespace vellora::command {

namespace {

constexpr std::size_t largest = 1024UL * 1024;  // bytes; no configuration comes near it

/// A descriptor that is closed in the end.
class OpenFile {
 public:
  explicit OpenFile(const std::string& file)
      : descriptor_(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
  ~OpenFile() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  [[nodiscard]] int descriptor() const { return descriptor_; }

 private:
  const int descriptor_;
};

std::optional<std::string> otherWriterOf(const struct stat& status) {
  if (status.st_uid != ::geteuid() && status.st_uid != 0) return "another user";
  if ((status.st_mode & S_IWOTH) != 0) return "others";
  if ((status.st_mode & S_IWGRP) != 0) return "its group";
  return std::nullopt;
}

/// The bytes of the file; no value when they cannot be read, or there are too many.
std::optional<std::string> textOf(int descriptor) {
  std::string text(largest + 1, '\0');
  std::size_t size = 0;
  while (size < text.size()) {
    const auto count = ::read(descriptor, text.data() + size, text.size() - size);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return std::nullopt;
    if (count == 0) break;
    size += static_cast<std::size_t>(count);
  }
  text.resize(size);
  return text;
}

}  // namespace

ConfigurationFile readConfigurationFile(const std::string& file) {
  ConfigurationFile read;
  const OpenFile opened(file);
  if (opened.descriptor() < 0) {
    read.exists = errno != ENOENT && errno != ENOTDIR;
    if (read.exists) read.failure = std::strerror(errno);
    return read;
  }
  read.exists = true;
  struct stat status {};
  if (::fstat(opened.descriptor(), &status) != 0 || !S_ISREG(status.st_mode)) {
    read.failure = "it is no plain file";
    return read;
  }
  read.otherWriter = otherWriterOf(status);
  auto text = textOf(opened.descriptor());
  if (!text) read.failure = std::strerror(errno);
  if (text && text->size() > largest) read.failure = "it is larger than 1 MB";
  if (!read.failure) read.text = *std::move(text);
  return read;
}

}  // namespace vellora::command
