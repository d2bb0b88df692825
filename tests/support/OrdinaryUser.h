#pragma once

#include <unistd.h>

#include <filesystem>
#include <stdexcept>

namespace vellora::tests {

/// While it lives, file permissions count: a superuser's process acts as a user that has no rights but those
/// to `folder` and what is in it. Changes nothing for other users.
class OrdinaryUser {
 public:
  explicit OrdinaryUser(const std::filesystem::path& folder) {
    if (geteuid() != 0) return;
    constexpr unsigned nobody = 65534;
    give(folder, nobody);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
      give(entry.path(), nobody);
    if (seteuid(nobody) != 0) throw std::runtime_error("cannot become an ordinary user");
    changed_ = true;
  }
  ~OrdinaryUser() {
    if (changed_ && seteuid(0) != 0) std::terminate();
  }
  OrdinaryUser(const OrdinaryUser&) = delete;
  OrdinaryUser& operator=(const OrdinaryUser&) = delete;

 private:
  static void give(const std::filesystem::path& path, unsigned user) {
    if (chown(path.c_str(), user, static_cast<gid_t>(-1)) != 0)
      throw std::runtime_error("cannot give " + path.string());
  }

  bool changed_ = false;
};

}  // namespace vellora::tests
