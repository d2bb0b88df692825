#include "vellora/Platform/Values/Result.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace vellora::detail {

namespace {

[[noreturn]] void endSaying(const std::string& why) {
  std::fputs(("vellora: " + why + "\n").c_str(), stderr);
  std::abort();
}

}  // namespace

void endForWantOfValue(const Error& failure) noexcept {
  endSaying("the value of a failed Result was asked for: " + failure.localizedDescription());
}

void endForWantOfError() noexcept {
  endSaying("the error of a Result without one was asked for.");
}

}  // namespace vellora::detail
