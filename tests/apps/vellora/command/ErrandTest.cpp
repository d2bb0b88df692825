#include "apps/vellora/command/Errand.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

namespace vellora::command {
namespace {

using testing::ContainsRegex;

std::string toldOf(Talk talk) {
  Arguments arguments;
  arguments.output.talk = talk;
  testing::internal::CaptureStderr();
  { const Errand errand(arguments, "reading /a.sqlite"); }
  return testing::internal::GetCapturedStderr();
}

TEST(ErrandTest, WhoFollowsIsToldWhenItIsOverAndHowLongItTook) {
  EXPECT_THAT(toldOf(Talk::verbose),
              ContainsRegex("^vellora: reading /a.sqlite: done after [0-9]+\\.[0-9][0-9] s\n$"));
}

TEST(ErrandTest, WithoutATerminalNobodyElseIsToldAnything) {
  EXPECT_EQ(toldOf(Talk::plain), "");
  EXPECT_EQ(toldOf(Talk::quiet), "");
}

/// Standard error as a terminal, while it lives.
class TerminalAsError {
 public:
  TerminalAsError() : terminal_(::posix_openpt(O_RDWR | O_NOCTTY)), before_(::dup(STDERR_FILENO)) {
    if (terminal_ < 0 || ::grantpt(terminal_) != 0 || ::unlockpt(terminal_) != 0) return;
    const int end = ::open(::ptsname(terminal_), O_RDWR | O_NOCTTY);
    isThere_ = end >= 0 && ::dup2(end, STDERR_FILENO) >= 0;
    if (end >= 0) ::close(end);
  }

  ~TerminalAsError() {
    ::dup2(before_, STDERR_FILENO);
    ::close(before_);
    if (terminal_ >= 0) ::close(terminal_);
  }

  TerminalAsError(const TerminalAsError&) = delete;
  TerminalAsError& operator=(const TerminalAsError&) = delete;

  [[nodiscard]] bool isThere() const { return isThere_; }

  /// What has been written, once `wanted` has; or after a minute without it.
  [[nodiscard]] std::string shownUntil(std::string_view wanted) const {
    std::string shown;
    pollfd input{terminal_, POLLIN, 0};
    while (shown.find(wanted) == std::string::npos && ::poll(&input, 1, 60'000) == 1) {
      char character = 0;
      if (::read(terminal_, &character, 1) == 1) shown += character;
    }
    return shown;
  }

 private:
  const int terminal_;
  const int before_;
  bool isThere_ = false;
};

TEST(ErrandTest, AtATerminalWhatTakesLongIsToldUntilItIsOver) {
  const TerminalAsError terminal;
  if (!terminal.isThere()) GTEST_SKIP() << "this system has no pseudo-terminals";
  ::setenv("TERM", "xterm", 1);
  std::optional<Errand> errand;
  errand.emplace(Arguments(), "reading /a.sqlite");
  EXPECT_EQ(terminal.shownUntil("sqlite"), "\r\x1b[Kvellora: reading /a.sqlite");
  errand.reset();
  EXPECT_THAT(terminal.shownUntil("\r\x1b[K"), testing::MatchesRegex("(, [0-9]+ s)?\r\x1b\\[K"))
      << "told a second late, it says how long it has taken";
}

}  // namespace
}  // namespace vellora::command
