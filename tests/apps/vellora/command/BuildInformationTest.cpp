#include "apps/vellora/command/BuildInformation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vellora::command {
namespace {

TEST(BuildInformationTest, TellsVersionCompilerKindOfBuildAndSystem) {
  EXPECT_THAT(buildInformation(),
              testing::MatchesRegex("vellora [0-9.]+\ncompiler: (GCC|Clang) [0-9.]+.*\nbuild: "
                                    "[A-Za-z]+\nsystem: [A-Za-z]+ [a-z0-9_]+"));
}

}  // namespace
}  // namespace vellora::command
