#include <gtest/gtest.h>

#include <string>

#include "apps/http/Server.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

namespace vellora::explore {
namespace {

TEST(ExploreTest, SaysThatItsPortIsTaken) {
  const auto occupant = http::Server::listen({}).value();
  const auto port = std::to_string(occupant->port());
  const tests::TemporaryFolder folder;
  const auto ended = tests::ChildProcess::run(
      VELLORA,
      {"--server", "http://127.0.0.1:9", "--cache", folder.file("cache.sqlite"), "explore", "--port", port},
      {});
  EXPECT_EQ(ended.exitCode, 2);
  EXPECT_EQ(ended.out, "");
  EXPECT_EQ(ended.err, "vellora: cannot listen on 127.0.0.1:" + port + ": Address already in use\n");
}

}  // namespace
}  // namespace vellora::explore
