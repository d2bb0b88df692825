#include "hostkit/cache/sqlite/SQLiteCacheError.h"

#include <gtest/gtest.h>

#include <string>

namespace vellora::hostkit {
namespace {

using Reason = SQLiteCacheError::Reason;

std::string text(Reason reason, const std::string& detail = "") {
  return SQLiteCacheError{reason, "/tmp/cache.db", detail}.localizedDescription();
}

TEST(SQLiteCacheErrorTest, SaysWhatIsWrongWhereAndWhatToDo) {
  EXPECT_EQ(text(Reason::unwritable, "Permission denied"),
            "The cache file \"/tmp/cache.db\" cannot be read and written (Permission denied). "
            "Choose a path in a folder that you may write to.");
  EXPECT_EQ(text(Reason::foreignFile),
            "The cache file \"/tmp/cache.db\" is not a cache of this library and was left as it is. "
            "Choose another path, or move that file away.");
  EXPECT_EQ(text(Reason::newerVersion),
            "The cache file \"/tmp/cache.db\" was written by a newer version of this library and was left as "
            "it is. "
            "Update this program, or choose another path.");
  EXPECT_EQ(text(Reason::locked),
            "The cache file \"/tmp/cache.db\" is locked by another process. "
            "Try again when that process is done, or choose another path.");
  EXPECT_EQ(text(Reason::absent),
            "The cache file \"/tmp/cache.db\" does not exist. "
            "Choose the path of a cache that has been used.");
  EXPECT_EQ(text(Reason::damaged),
            "The cache file \"/tmp/cache.db\" is damaged. "
            "The next program that uses it sets it aside and begins a new one.");
  EXPECT_EQ(text(Reason::otherOwner),
            "The cache file \"/tmp/cache.db\" was filled for another user or another server. "
            "Choose another path, or delete that cache.");
  EXPECT_EQ(text(Reason::failed, "disk I/O error"),
            "The cache file \"/tmp/cache.db\" cannot be opened (disk I/O error). "
            "Check the disk that it is on, or choose another path.");
}

}  // namespace
}  // namespace vellora::hostkit
