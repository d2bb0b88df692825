#pragma once

#include <fcntl.h>
#include <unistd.h>

namespace vellora::tests {

/// Has no standard input while it lives: the next file that is opened gets the number 0.
class WithoutStandardInput {
 public:
  WithoutStandardInput() : kept_(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
    close(STDIN_FILENO);
  }
  ~WithoutStandardInput() {
    close(STDIN_FILENO);
    dup2(kept_, STDIN_FILENO);
    close(kept_);
  }
  WithoutStandardInput(const WithoutStandardInput&) = delete;
  WithoutStandardInput& operator=(const WithoutStandardInput&) = delete;

 private:
  const int kept_;
};

}  // namespace vellora::tests
