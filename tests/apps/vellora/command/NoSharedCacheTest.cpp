#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <variant>

#include "apps/vellora/command/SharedCache.h"

namespace vellora::command {
namespace {

using testing::HasSubstr;
using testing::Not;

TEST(NoSharedCacheTest, SaysThatTheBuildLacksRedisAndWhatToDo) {
  SharedCache::Options options;
  options.address = "redis://:secret@h";
  const auto opened = openSharedCache(options);
  const auto& problem = std::get<Problem>(opened);
  EXPECT_EQ(problem.exit, ExitCode::usage);
  EXPECT_THAT(problem.message, HasSubstr("built without Redis"));
  EXPECT_THAT(problem.message, HasSubstr("give --cache FILE"));
  EXPECT_THAT(problem.message, Not(HasSubstr("secret")));
}

}  // namespace
}  // namespace vellora::command
