#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

namespace vellora::tests {

/// A new, empty folder that is deleted with all its content at the end. It is in memory where the system has
/// a place for that: a test that reopens a file a thousand times would otherwise wait for the disk each time.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = (parent() / "vellora-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot create " + name);
    path_ = std::filesystem::canonical(name);
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }
  [[nodiscard]] std::string file(const std::string& name) const { return (path_ / name).string(); }

 private:
  static std::filesystem::path parent() {
    const char* memory = "/dev/shm";
    return access(memory, W_OK) == 0 ? memory : std::filesystem::temp_directory_path();
  }

  std::filesystem::path path_;
};

}  // namespace vellora::tests
