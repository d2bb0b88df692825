#include "hostkit/cache/redis/ReconnectPause.h"

#include <gtest/gtest.h>

#include <chrono>

namespace vellora::hostkit::tests {
namespace {

using std::chrono::milliseconds;

const ReconnectPause::Moment start{std::chrono::hours(1)};

TEST(ReconnectPauseTest, DoesNotLastBeforeAFailure) {
  EXPECT_FALSE(ReconnectPause(milliseconds(100), milliseconds(500)).lasts(start));
}

TEST(ReconnectPauseTest, LastsAsLongAsItIsSaid) {
  ReconnectPause pause(milliseconds(100), milliseconds(500));
  pause.noteFailure(start);
  EXPECT_TRUE(pause.lasts(start + milliseconds(99)));
  EXPECT_FALSE(pause.lasts(start + milliseconds(100)));
}

TEST(ReconnectPauseTest, DoublesWithEachFailureUpToTheLongest) {
  ReconnectPause pause(milliseconds(100), milliseconds(500));
  for (const int length : {100, 200, 400, 500, 500}) {
    pause.noteFailure(start);
    EXPECT_TRUE(pause.lasts(start + milliseconds(length - 1))) << length;
    EXPECT_FALSE(pause.lasts(start + milliseconds(length))) << length;
  }
}

TEST(ReconnectPauseTest, BeginsAnewWithASuccess) {
  ReconnectPause pause(milliseconds(100), milliseconds(500));
  pause.noteFailure(start);
  pause.noteFailure(start);
  pause.noteSuccess();
  EXPECT_FALSE(pause.lasts(start));
  pause.noteFailure(start);
  EXPECT_FALSE(pause.lasts(start + milliseconds(100)));
}

}  // namespace
}  // namespace vellora::hostkit::tests
