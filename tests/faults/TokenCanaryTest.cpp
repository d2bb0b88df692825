#include "tests/support/TokenCanary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

namespace vellora::tests {
namespace {

using testing::IsEmpty;
using testing::UnorderedElementsAre;

class TokenCanaryTest : public testing::Test {
 protected:
  /// Waits for a process that was just started: its arguments can be read a moment later.
  static bool showsArguments(pid_t process) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (std::chrono::steady_clock::now() < limit) {
      std::ifstream arguments("/proc/" + std::to_string(process) + "/cmdline");
      if (arguments.peek() != std::ifstream::traits_type::eof()) return true;
      std::this_thread::yield();
    }
    return false;
  }

  const TokenCanary canary;
};

TEST_F(TokenCanaryTest, IsFoundWholeOrInPart) {
  EXPECT_TRUE(canary.isIn(canary.token()));
  EXPECT_TRUE(canary.isIn("error: Bearer " + canary.token().substr(0, 20) + "…"));
  EXPECT_TRUE(canary.isIn(canary.token().substr(canary.token().size() - 8)));
}

TEST_F(TokenCanaryTest, IsNotFoundInOtherText) {
  EXPECT_FALSE(canary.isIn(""));
  EXPECT_FALSE(canary.isIn("/services/data/v50.0/query?q=SELECT%20Id,SobjectType%20FROM%20ListView"));
  EXPECT_FALSE(canary.isIn(canary.token().substr(0, 7)));
  EXPECT_FALSE(canary.isIn("Bearer " + std::string(64, 'A')));
}

TEST_F(TokenCanaryTest, CanariesOfDifferentNumbersAreTold) {
  EXPECT_NE(canary.token(), TokenCanary(1).token());
}

TEST_F(TokenCanaryTest, IsFoundInTheFormsThatProgramsWriteTextIn) {
  // Of "Kanari00~Qx7/vW3+" in each of the forms.
  EXPECT_TRUE(canary.isIn("?token=Kanari00%7EQx7%2FvW3%2B"));
  EXPECT_TRUE(canary.isIn("4b616e61726930307e517837"));
  EXPECT_TRUE(canary.isIn("4B616E61726930307E517837"));
  EXPECT_TRUE(canary.isIn("S2FuYXJpMDB+UXg3L3ZXMys"));
  EXPECT_TRUE(canary.isIn("S2FuYXJpMDB-UXg3L3ZXMys")) << "the alphabet of URLs";
  EXPECT_TRUE(canary.isIn("QmVhcmVyIEthbmFyaTAwflF4Ny92VzMr")) << "behind \"Bearer \", out of step";
}

TEST_F(TokenCanaryTest, IsFoundInFilesAndTheirNames) {
  const TemporaryFolder folder;
  EXPECT_THAT(canary.filesIn(folder.path()), IsEmpty());

  std::filesystem::create_directory(folder.file("below"));
  const std::string named = folder.file("Kanari00~Qx7");
  const std::string filled = folder.file("below/cache-wal");
  std::ofstream(named) << "nothing";
  std::ofstream(filled) << std::string(100'000, '\0') << canary.token();
  std::ofstream(folder.file("other")) << "nothing";
  EXPECT_THAT(canary.filesIn(folder.path()), UnorderedElementsAre(named, filled));
}

TEST_F(TokenCanaryTest, IsFoundAmongTheArgumentsOfAProcess) {
  const ChildProcess without("/bin/sleep", {"60"}, {});
  const ChildProcess with("/bin/sh", {"-c", "kill -STOP $$", canary.token()}, {});
  EXPECT_TRUE(showsArguments(without.id()) && showsArguments(with.id()));
  EXPECT_FALSE(canary.isInArgumentsOf(without.id()));
  EXPECT_TRUE(canary.isInArgumentsOf(with.id()));
}

TEST_F(TokenCanaryTest, AProcessThatIsGoneShowsNothing) {
  EXPECT_TRUE(canary.isInArgumentsOf(0));
}

}  // namespace
}  // namespace vellora::tests
