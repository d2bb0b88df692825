#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <thread>
#include <vector>

namespace vellora::tests {

/// A program that a test runs, with its own standard input and environment; what it writes is collected.
class ChildProcess {
 public:
  struct Options {
    std::string input;                               ///< its whole standard input
    std::map<std::string, std::string> environment;  ///< beside PATH, and all that it gets
  };

  struct Ended {
    int exitCode = -1;  ///< -1 when a signal ended it
    std::string out;
    std::string err;
  };

  /// Starts the program; aborts the test program when that cannot be done.
  ChildProcess(const std::string& program, const std::vector<std::string>& arguments, const Options& options);

  /// Kills the program if it still runs.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /// Its number until `wait` has returned.
  [[nodiscard]] pid_t id() const { return process_; }

  void sendSignal(int signal) const;

  /// Waits for the end. Call it once.
  [[nodiscard]] Ended wait();

  /// Starts a program and waits for its end.
  [[nodiscard]] static Ended run(const std::string& program, const std::vector<std::string>& arguments,
                                 const Options& options);

 private:
  pid_t process_ = -1;
  Ended ended_;
  std::vector<std::thread> pipes_;
};

}  // namespace vellora::tests
