#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "hostkit/cache/sqlite/OwnCacheFile.h"
#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "hostkit/cache/sqlite/SQLiteCacheError.h"
#include "tests/hostkit/cache/sqlite/CacheFileFixture.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"

namespace vellora::hostkit::tests {
namespace {

using testing::HasSubstr;
using testing::Not;

/// A cache whose file knows whose it is.
class SQLiteCacheOwnerTest : public CacheFileFixture {
 protected:
  [[nodiscard]] Result<std::shared_ptr<SQLiteCache>> openAs(const std::string& owner) const {
    SQLiteCache::Options options;
    options.owner = owner;
    return SQLiteCache::open(path, options);
  }
};

TEST_F(SQLiteCacheOwnerTest, AnotherOwnerIsRefusedAndTheFileStaysAsItIs) {
  ASSERT_TRUE(openAs("records.example alice").value()->save(Data("1"), "a"));
  const std::string bytes = fileBytes(path);

  const auto refused = openAs("records.example bob");

  ASSERT_FALSE(refused);
  EXPECT_EQ(*refused.error().as<SQLiteCacheError>(), (SQLiteCacheError{Reason::otherOwner, path, ""}));
  EXPECT_EQ(
      refused.error().localizedDescription(),
      "The cache file \"" + path +
          "\" was filled for another user or another server. Choose another path, or delete that cache.");
  EXPECT_TRUE(fileBytes(path) == bytes);
  EXPECT_EQ(openAs("records.example alice").value()->load("a"), Data("1"));
}

TEST_F(SQLiteCacheOwnerTest, ACacheOfNobodyBecomesTheFirstOwners) {
  makeCache();
  EXPECT_EQ(openAs("alice").value()->load("a"), Data(std::string("1")));
  EXPECT_FALSE(openAs("bob"));
}

TEST_F(SQLiteCacheOwnerTest, WhoNamesNoOwnerOpensEveryFile) {
  ASSERT_TRUE(openAs("alice"));
  EXPECT_TRUE(tryToOpen(path));
}

TEST_F(SQLiteCacheOwnerTest, NeitherTheFileNorItsNameTellsTheOwner) {
  const std::string token = "00Dsecret!token";
  const auto file = ownCacheFile(folder.path(), "records.example", token).value();
  SQLiteCache::Options options;
  options.owner = token;
  const auto cache = SQLiteCache::open(file, options).value();
  EXPECT_THAT(file, Not(HasSubstr("secret")));
  for (const auto& name : fileNames(folder.path())) {
    EXPECT_THAT(fileBytes(folder.file(name)), Not(HasSubstr("secret"))) << name;
  }
}

TEST_F(SQLiteCacheOwnerTest, AFileWithADamagedMarkIsSetAside) {
  ASSERT_TRUE(openAs("alice").value()->save(Data("1"), "a"));
  RawDatabase(path).run("UPDATE owner SET digest = zeroblob(32)");
  const auto cache = openAs("bob");
  ASSERT_TRUE(cache);
  EXPECT_EQ(cache.value()->load("a"), std::nullopt);
  EXPECT_TRUE(std::filesystem::exists(path + ".damaged-1"));
}

}  // namespace
}  // namespace vellora::hostkit::tests
