#pragma once

#include <string>

#include "vellora/Platform/Values/Error.h"

namespace vellora::hostkit {

/// Keeps other processes and threads from creating or replacing files of ours in one folder, for as long as
/// it lives.
///
/// Ownership: holds the folder open.
///
/// Threads: any; locks of one process exclude each other, too.
///
/// Errors: `held()` is false when the folder cannot be opened, or when somebody else held it for two seconds;
/// `error` tells which.
class FolderLock {
 public:
  explicit FolderLock(const std::string& folder);
  ~FolderLock();
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

  [[nodiscard]] bool held() const { return held_; }

  /// Why the folder of the cache at `path` is not held.
  [[nodiscard]] Error error(const std::string& path) const;

 private:
  const int descriptor_;
  const int failure_;
  bool held_ = false;
};

}  // namespace vellora::hostkit
