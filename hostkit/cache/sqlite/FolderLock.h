#pragma once

#include <string>

namespace vellora::hostkit {

/// Keeps other processes and threads from creating or replacing files of ours in one folder, for as long as
/// it lives.
///
/// Ownership: holds the folder open.
///
/// Threads: any; locks of one process exclude each other, too.
///
/// Errors: `held()` is false when the folder cannot be opened, or when somebody else held it for two seconds.
class FolderLock {
 public:
  explicit FolderLock(const std::string& folder);
  ~FolderLock();
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

  [[nodiscard]] bool held() const { return held_; }

 private:
  const int descriptor_;
  bool held_ = false;
};

}  // namespace vellora::hostkit
