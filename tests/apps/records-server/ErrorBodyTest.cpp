#include "apps/records-server/ErrorBody.h"

#include <gtest/gtest.h>

namespace vellora::recordsserver {
namespace {

TEST(ErrorBodyTest, IsAnArrayOfOneError) {
  EXPECT_EQ(errorBody("It failed.", "FAILED"), R"([{"message":"It failed.","code":"FAILED"}])");
}

TEST(ErrorBodyTest, EscapesWhatJsonWantsEscaped) {
  EXPECT_EQ(errorBody("\"a\\b\"\n\x01", "X"), R"([{"message":"\"a\\b\"\n\u0001","code":"X"}])");
}

}  // namespace
}  // namespace vellora::recordsserver
