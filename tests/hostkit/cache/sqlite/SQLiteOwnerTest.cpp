#include "hostkit/cache/sqlite/SQLiteOwner.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <sqlite3.h>

#include <chrono>
#include <memory>
#include <string>
#include <utility>

#include "hostkit/cache/sqlite/SQLiteCacheFile.h"
#include "hostkit/cache/sqlite/SQLiteResultCodes.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/TemporaryFolder.h"

namespace vellora::hostkit::tests {
namespace {

using sqliteOwner::Claim;

/// While it lives, there are no digests: they are asked of a provider that is not there.
class NoDigests {
 public:
  NoDigests() { EVP_set_default_properties(nullptr, "provider=none"); }
  ~NoDigests() { EVP_set_default_properties(nullptr, ""); }
  NoDigests(const NoDigests&) = delete;
  NoDigests& operator=(const NoDigests&) = delete;
};

class SQLiteOwnerTest : public testing::Test {
 protected:
  [[nodiscard]] Claim claim(const std::string& owner) { return sqliteOwner::claim(*database, owner); }

  const vellora::tests::TemporaryFolder folder;
  const std::string path = folder.file("cache.db");
  std::shared_ptr<SQLiteDatabase> database =
      sqliteCacheFile::open(path, std::chrono::milliseconds(1)).value();
};

TEST_F(SQLiteOwnerTest, TheFirstToClaimItIsTheOwner) {
  EXPECT_EQ(claim("server one"), Claim::granted);
  EXPECT_EQ(claim("server one"), Claim::granted);
  EXPECT_EQ(claim("server two"), Claim::refused);
  EXPECT_EQ(claim(""), Claim::refused);
  EXPECT_EQ(claim("server one"), Claim::granted);
}

TEST_F(SQLiteOwnerTest, TheOwnerOutlivesTheConnection) {
  ASSERT_EQ(claim("server one"), Claim::granted);
  database = sqliteCacheFile::open(path, std::chrono::milliseconds(1)).value();
  EXPECT_EQ(claim("server two"), Claim::refused);
}

TEST_F(SQLiteOwnerTest, TwoFilesOfOneOwnerShowNothingThatIsTheSame) {
  const std::string second = folder.file("second.db");
  auto other = sqliteCacheFile::open(second, std::chrono::milliseconds(1)).value();
  const auto marksOf = [](SQLiteDatabase& from) {
    SQLiteStatement mark = from.statement("SELECT key, digest FROM owner");
    EXPECT_TRUE(mark.step());
    return std::pair(std::string(mark.bytes(0)), std::string(mark.bytes(1)));
  };
  ASSERT_EQ(claim("server one"), Claim::granted);
  ASSERT_EQ(sqliteOwner::claim(*other, "server one"), Claim::granted);
  EXPECT_NE(marksOf(*database).first, marksOf(*other).first);
  EXPECT_NE(marksOf(*database).second, marksOf(*other).second);
}

TEST_F(SQLiteOwnerTest, ADamagedMarkIsDamageAndNobodys) {
  ASSERT_EQ(claim("server one"), Claim::granted);
  RawDatabase(path).run("UPDATE owner SET digest = zeroblob(32)");
  EXPECT_EQ(claim("server one"), Claim::failed);
  EXPECT_TRUE(meansDamage(database->failure()));
}

TEST_F(SQLiteOwnerTest, AnOwnerWithoutADigestIsNotRefusedForAnother) {
  ASSERT_EQ(claim("server one"), Claim::granted);
  {
    const NoDigests none;
    EXPECT_EQ(claim("server one"), Claim::failed);
  }
  EXPECT_EQ(database->failure(), SQLITE_NOMEM);
  database->clearFailure();
  EXPECT_EQ(claim("server one"), Claim::granted);
}

TEST_F(SQLiteOwnerTest, AFileIsNobodysWithoutADigest) {
  {
    const NoDigests none;
    EXPECT_EQ(claim("server one"), Claim::failed);
  }
  EXPECT_EQ(database->failure(), SQLITE_NOMEM);
  database->clearFailure();
  EXPECT_EQ(claim("server two"), Claim::granted);
}

TEST_F(SQLiteOwnerTest, AFileThatCannotBeWrittenIsNobodys) {
  RawDatabase other(path);
  other.run("BEGIN IMMEDIATE");
  EXPECT_EQ(claim("server one"), Claim::failed);
  EXPECT_TRUE(meansLocked(database->failure()));
  database->clearFailure();
  other.run("ROLLBACK");
  EXPECT_EQ(claim("server two"), Claim::granted);
}

}  // namespace
}  // namespace vellora::hostkit::tests
