#include "hostkit/cache/redis/RedisCacheError.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace vellora::hostkit::tests {
namespace {

using Reason = RedisCacheError::Reason;

TEST(RedisCacheErrorTest, TellsWhatIsWrongWhereAndWhatToDo) {
  EXPECT_EQ(
      (RedisCacheError{Reason::full, "redis://cache.example", "OOM"}.localizedDescription()),
      "The Redis at \"redis://cache.example\" takes no writes (OOM). Give it more memory or disk, or have"
      " it evict what expires.");
}

TEST(RedisCacheErrorTest, AnAddressThatIsNoneIsNotRepeated) {
  EXPECT_EQ((RedisCacheError{Reason::invalidAddress, "", ""}.localizedDescription()),
            "The text is no address of a Redis. Take one such as redis://cache.example:6379/0, and give user"
            " and password apart from it.");
}

TEST(RedisCacheErrorTest, EveryReasonHasWordsOfItsOwn) {
  std::set<std::string> texts;
  for (const auto reason : {Reason::invalidAddress, Reason::unreachable, Reason::timedOut, Reason::refused,
                            Reason::full, Reason::unready, Reason::failed}) {
    texts.insert(RedisCacheError{reason, "redis://cache.example", ""}.localizedDescription());
  }
  EXPECT_EQ(texts.size(), 7U);
}

}  // namespace
}  // namespace vellora::hostkit::tests
