#include "hostkit/cache/CacheArchiveError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vellora::hostkit::tests {
namespace {

using Reason = CacheArchiveError::Reason;
using testing::HasSubstr;

TEST(CacheArchiveErrorTest, ErrorsSayWhatToDo) {
  EXPECT_THAT(CacheArchiveError{Reason::otherFormat}.localizedDescription(), HasSubstr("Choose a file"));
  EXPECT_THAT(CacheArchiveError{Reason::newerVersion}.localizedDescription(),
              HasSubstr("Update this program"));
  EXPECT_THAT(CacheArchiveError{Reason::damaged}.localizedDescription(), HasSubstr("Write it again"));
}

}  // namespace
}  // namespace vellora::hostkit::tests
