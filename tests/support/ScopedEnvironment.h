#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace vellora::tests {

/// Sets an environment variable while it lives, then puts back what was there. Not while other threads read
/// the environment.
class ScopedEnvironment {
 public:
  ScopedEnvironment(std::string name, const std::string& value) : name_(std::move(name)) {
    if (const char* before = std::getenv(name_.c_str())) before_ = before;
    ::setenv(name_.c_str(), value.c_str(), 1);
  }

  ~ScopedEnvironment() {
    if (before_) {
      ::setenv(name_.c_str(), before_->c_str(), 1);
    } else {
      ::unsetenv(name_.c_str());
    }
  }

  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

 private:
  const std::string name_;
  std::optional<std::string> before_;
};

}  // namespace vellora::tests
