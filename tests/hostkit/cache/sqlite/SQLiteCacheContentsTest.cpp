#include "hostkit/cache/sqlite/SQLiteCacheContents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <memory>
#include <string>

#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "tests/hostkit/cache/ManualClock.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/OrdinaryUser.h"
#include "tests/support/TemporaryFolder.h"
#include "vellora/Host/CacheTable.h"

namespace vellora::hostkit::tests {
namespace {

using CorvaneSDK::CacheEntry;
using CorvaneSDK::Table;
using vellora::tests::OrdinaryUser;
using Reason = SQLiteCacheError::Reason;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class SQLiteCacheContentsTest : public testing::Test {
 protected:
  [[nodiscard]] std::shared_ptr<SQLiteCache> open() const {
    SQLiteCache::Options options;
    options.clock = clock.function();
    return SQLiteCache::open(path, options).value();
  }

  /// Two blobs, and a table of two rows.
  void fill(SQLiteCache& cache) const {
    cache.save(Data("second"), "b");
    cache.save(Data("first"), "a");
    const auto table = cache.createTable(Table::emptyWithKey("Rows", Table::MaxAge::sevenDays));
    table->upsert({Data("1"), {{"kind", "one"}}, std::nullopt});
    table->upsert({Data("2"), {{"kind", "two"}}, "key"});
  }

  void fillAndClose() const { fill(*open()); }

  [[nodiscard]] Result<SQLiteCacheContents> read() const {
    return SQLiteCacheContents::read(path, clock.function()());
  }

  [[nodiscard]] SQLiteCacheError refusal() const {
    const auto contents = read();
    if (contents) throw std::logic_error("it was read");
    const auto* error = contents.error().as<SQLiteCacheError>();
    if (error == nullptr) throw std::logic_error(contents.error().localizedDescription());
    return *error;
  }

  [[nodiscard]] Reason reasonOfRefusal() const { return refusal().reason; }

  vellora::tests::TemporaryFolder folder;
  const std::string path = folder.file("cache.db");
  ManualClock clock;
};

TEST_F(SQLiteCacheContentsTest, HoldsEveryBlobAndRow) {
  fillAndClose();
  const auto contents = read();
  ASSERT_TRUE(contents) << contents.error().localizedDescription();
  const auto& [blobs, tables, findings] = contents.value();
  ASSERT_EQ(blobs.size(), 2U);
  EXPECT_EQ(blobs[0].key, "a");
  EXPECT_EQ(blobs[0].data, Data("first"));
  EXPECT_EQ(blobs[1].key, "b");
  ASSERT_EQ(tables.size(), 1U);
  EXPECT_EQ(tables[0].key, "Rows");
  EXPECT_EQ(tables[0].maxAge, Table::MaxAge::sevenDays);
  ASSERT_EQ(tables[0].rows.size(), 2U);
  EXPECT_EQ(tables[0].rows[0].row.meta, (CorvaneSDK::Meta{{"kind", "one"}}));
  EXPECT_EQ(tables[0].rows[0].data, Data("1"));
  EXPECT_EQ(tables[0].rows[0].written, clock.function()());
  EXPECT_FALSE(tables[0].rows[0].outdated);
  EXPECT_EQ(tables[0].rows[1].row.dataKey, "key");
  EXPECT_THAT(findings, IsEmpty());
}

TEST_F(SQLiteCacheContentsTest, RowsThatTheTableNoLongerReturnsAreOutdated) {
  fillAndClose();
  clock.advance(8.0 * 24 * 3600);
  EXPECT_TRUE(read().value().tables[0].rows[0].outdated);
}

TEST_F(SQLiteCacheContentsTest, LookingChangesNothingAndLeavesNothing) {
  fillAndClose();
  const auto bytes = fileBytes(path);
  ASSERT_TRUE(read());
  EXPECT_EQ(fileBytes(path), bytes);
  EXPECT_THAT(fileNames(folder.path()), ElementsAre("cache.db"));
}

TEST_F(SQLiteCacheContentsTest, AFileInUseIsReadWithItsLogWhichStays) {
  const auto cache = open();
  fill(*cache);
  const auto bytes = fileBytes(path);
  const auto log = fileBytes(path + "-wal");
  ASSERT_FALSE(log.empty());
  const auto contents = read();
  ASSERT_TRUE(contents);
  EXPECT_EQ(contents.value().blobs.size(), 2U);
  EXPECT_EQ(fileBytes(path), bytes);
  EXPECT_EQ(fileBytes(path + "-wal"), log);
  EXPECT_TRUE(cache->save(Data("third"), "c"));
  EXPECT_EQ(read().value().blobs.size(), 3U);
}

TEST_F(SQLiteCacheContentsTest, TheLogOfAProgramThatCrashedIsReadAndStays) {
  const std::string crashed = folder.file("crashed.db");
  {
    const auto cache = open();
    fill(*cache);
    std::filesystem::copy_file(path, crashed);
    std::filesystem::copy_file(path + "-wal", crashed + "-wal");
  }
  const auto log = fileBytes(crashed + "-wal");
  const auto contents = SQLiteCacheContents::read(crashed, clock.function()());
  ASSERT_TRUE(contents);
  EXPECT_EQ(contents.value().blobs.size(), 2U);
  EXPECT_EQ(fileBytes(crashed + "-wal"), log);
}

TEST_F(SQLiteCacheContentsTest, AFileInAFolderThatNobodyMayWriteToIsRead) {
  const std::filesystem::path inner = folder.path() / "100% #1?";
  std::filesystem::create_directory(inner);
  fillAndClose();
  const std::string shipped = (inner / "seed.db").string();
  std::filesystem::rename(path, shipped);
  ::chmod(shipped.c_str(), 0400);
  ::chmod(inner.c_str(), 0500);
  const OrdinaryUser user(folder.path());
  const auto contents = SQLiteCacheContents::read(shipped, clock.function()());
  ::chmod(inner.c_str(), 0700);
  ASSERT_TRUE(contents) << contents.error().localizedDescription();
  EXPECT_EQ(contents.value().blobs.size(), 2U);
}

TEST_F(SQLiteCacheContentsTest, TellsWhichEntriesAreDamaged) {
  fillAndClose();
  RawDatabase(path).run("UPDATE vellora_blob SET data = x'00' WHERE name = CAST('a' AS BLOB)");
  RawDatabase(path).run("UPDATE vellora_row SET written = written + 1 WHERE data_key = CAST('key' AS BLOB)");
  RawDatabase(path).run("UPDATE vellora_table SET checksum = 0");
  const auto contents = read();
  ASSERT_TRUE(contents);
  EXPECT_EQ(contents.value().blobs[0].data, std::nullopt);
  EXPECT_EQ(contents.value().tables[0].rows[1].data, std::nullopt);
  EXPECT_THAT(contents.value().findings,
              ElementsAre("blob \"a\" does not fit its checksum",
                          "the record of table \"Rows\" does not fit its checksum",
                          "row \"key\" of table \"Rows\" does not fit its checksum"));
}

TEST_F(SQLiteCacheContentsTest, TellsWhichRowsNoLookupFinds) {
  fillAndClose();
  RawDatabase(path).run("DELETE FROM vellora_meta WHERE value = CAST('two' AS BLOB)");
  EXPECT_THAT(read().value().findings,
              ElementsAre("row \"key\" of table \"Rows\" is missing from the index"));
}

TEST_F(SQLiteCacheContentsTest, TellsWhatTheDatabaseItselfComplainsOf) {
  fillAndClose();
  RawDatabase raw(path);
  raw.run("PRAGMA writable_schema = ON");
  raw.run(
      "UPDATE sqlite_schema SET rootpage = (SELECT rootpage FROM sqlite_schema WHERE name = "
      "'vellora_meta_pair')"
      " WHERE name = 'vellora_row_age'");
  const auto contents = read();
  ASSERT_TRUE(contents);
  EXPECT_THAT(contents.value().findings, testing::Contains(HasSubstr("vellora_row_age")));
}

TEST_F(SQLiteCacheContentsTest, RefusesWhatIsNoSoundCacheAndLeavesItAsItIs) {
  EXPECT_EQ(reasonOfRefusal(), Reason::absent);
  writeFile(path, "");
  EXPECT_EQ(reasonOfRefusal(), Reason::absent);
  writeFile(path, std::string(5000, 'x'));
  EXPECT_EQ(reasonOfRefusal(), Reason::foreignFile);
  std::filesystem::remove(path);

  fillAndClose();
  const std::string sound = fileBytes(path);
  RawDatabase(path).run("DROP INDEX vellora_row_age");
  EXPECT_EQ(reasonOfRefusal(), Reason::damaged);
  writeFile(path, std::string(16, 'x') + sound.substr(16));
  EXPECT_EQ(refusal(), (SQLiteCacheError{Reason::damaged, path, ""}));
  writeFile(path, sound);
  RawDatabase(path).run("PRAGMA application_id = 7; PRAGMA user_version = 99");
  EXPECT_EQ(refusal(), (SQLiteCacheError{Reason::damaged, path, ""}));
  writeFile(path, sound);
  RawDatabase(path).run("PRAGMA user_version = 99");
  EXPECT_EQ(reasonOfRefusal(), Reason::newerVersion);
  EXPECT_THAT(fileNames(folder.path()), ElementsAre("cache.db"));
}

TEST_F(SQLiteCacheContentsTest, RefusesANewerVersionWhateverElseIsInIt) {
  fillAndClose();
  RawDatabase(path).run("PRAGMA user_version = 2");
  std::string newer = fileBytes(path);
  newer.at(19) = 9;  // what a program has to know in order to read it
  writeFile(path, newer);
  EXPECT_EQ(refusal(), (SQLiteCacheError{Reason::newerVersion, path, ""}));
}

TEST_F(SQLiteCacheContentsTest, RefusesAFileThatMayNotBeRead) {
  fillAndClose();
  ::chmod(path.c_str(), 0200);
  const OrdinaryUser user(folder.path());
  EXPECT_EQ(refusal(), (SQLiteCacheError{Reason::unwritable, path, "Permission denied"}));
}

}  // namespace
}  // namespace vellora::hostkit::tests
