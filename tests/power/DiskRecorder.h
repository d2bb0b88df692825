#pragma once

#include <memory>
#include <string>

#include "tests/power/DiskJournal.h"

namespace vellora::tests {

/// Records what the program does to the files of one folder while it lives: its own code and that of shared
/// libraries, such as SQLite. A program that links this has the system's calls that change files replaced by
/// ones that call the system's and take down what they did.
///
/// What is written by way of mapped memory is not seen. Of an index of SQLite's log, which is written so, a
/// loss of power leaves what the calls made of it; SQLite begins it anew.
///
/// Threads: one at a time, and one recorder.
class DiskRecorder {
 public:
  /// Begins with what is in the folder at `path` as durable.
  explicit DiskRecorder(std::string path);
  ~DiskRecorder();
  DiskRecorder(const DiskRecorder&) = delete;
  DiskRecorder& operator=(const DiskRecorder&) = delete;

  [[nodiscard]] const DiskJournal& journal() const;

 private:
  struct Recording;
  friend struct RecordedCalls;
  const std::unique_ptr<Recording> recording_;
};

}  // namespace vellora::tests
