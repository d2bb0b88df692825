#include "apps/vellora/command/SharedCacheOptions.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <string>

#include "tests/support/TemporaryFolder.h"

namespace vellora::command {
namespace {

class SharedCacheOptionsTest : public testing::Test {
 protected:
  SharedCacheOptionsTest() { arguments.cacheFile = "redis://h"; }

  [[nodiscard]] SharedCache::Options read() const {
    return std::get<SharedCache::Options>(sharedCacheOptions(arguments, "owner"));
  }

  const tests::TemporaryFolder folder;
  Arguments arguments;
};

TEST_F(SharedCacheOptionsTest, AreThoseOfTheArguments) {
  arguments.cachePasswordFile = folder.file("password");
  std::ofstream(*arguments.cachePasswordFile) << "open sesame\n";
  arguments.cacheUser = "reader";
  arguments.cacheCaFile = "authorities.pem";
  const auto options = read();
  EXPECT_EQ(options.user, "reader");
  EXPECT_EQ(options.caFile, "authorities.pem");
  EXPECT_EQ(options.address, "redis://h");
  EXPECT_EQ(options.owner, "owner");
  EXPECT_EQ(options.password, "open sesame");
}

TEST_F(SharedCacheOptionsTest, ACallHasATenthOfTheWait) {
  arguments.wait = 5;
  EXPECT_EQ(read().timeout, std::chrono::milliseconds(500));
  arguments.wait = 0.00001;
  EXPECT_EQ(read().timeout, std::chrono::milliseconds(1));
  arguments.wait = 1e300;
  EXPECT_EQ(read().timeout, std::chrono::hours(1));
}

TEST_F(SharedCacheOptionsTest, APasswordThatCannotBeReadIsAProblem) {
  arguments.cachePasswordFile = folder.file("absent");
  const auto options = sharedCacheOptions(arguments, "owner");
  EXPECT_EQ(std::get<Problem>(options).exit, ExitCode::usage);
}

}  // namespace
}  // namespace vellora::command
