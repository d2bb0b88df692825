#pragma once

#include <sys/types.h>

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace vellora::tests {

/// A server program that runs beside a test, and what it writes on its standard output.
///
/// Ownership: owns the process, and kills it at the end.
///
/// Errors: `std::runtime_error` when it cannot be started, or ends without the line that is waited for.
class ServerProcess {
 public:
  /// Starts the program of that name or path.
  explicit ServerProcess(std::vector<std::string> command);
  ~ServerProcess();
  ServerProcess(const ServerProcess&) = delete;
  ServerProcess& operator=(const ServerProcess&) = delete;

  [[nodiscard]] pid_t id() const noexcept { return process_; }

  /// Waits for a line that begins with `mark`, and gives the rest of it.
  [[nodiscard]] std::string restOfLine(const std::string& mark);

  /// Waits until it has written `text`, anywhere.
  void waitUntilWritten(const std::string& text);

  /// Kills the process; gives all that it wrote.
  std::string stop();

 private:
  void collect(int output);

  pid_t process_ = -1;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::string written_;  // under mutex_
  bool ended_ = false;   // under mutex_
  std::thread reader_;
};

}  // namespace vellora::tests
