#include "hostkit/cache/sqlite/SQLiteRows.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/cache/sqlite/SQLiteCacheFile.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/TemporaryFolder.h"

namespace vellora::hostkit::tests {
namespace {

using vellora::tests::TemporaryFolder;

using CorvaneSDK::Meta;
using CorvaneSDK::Row;
using CorvaneSDK::RowFilter;
using CorvaneSDK::Table;
using testing::ElementsAre;

const RowFilter everyRow = [](const Row&) { return true; };

class SQLiteRowsTest : public testing::Test {
 protected:
  void write(const std::string& key, const Meta& meta) {
    sqliteRows::write(*database, "Rows", Row{meta, key}, Data("data of " + key), noon);
  }

  [[nodiscard]] std::vector<std::string> keys(const Meta* pairs) const {
    std::vector<std::string> all;
    for (const auto& stored : sqliteRows::read(*database, "Rows", live, pairs))
      all.push_back(stored->row.dataKey);
    return all;
  }

  const Date noon = Date::since1970(1'700'000'000);
  const LiveSpan live{noon, Table::MaxAge::sevenDays};
  TemporaryFolder folder;
  const std::string path = folder.file("cache.db");
  std::shared_ptr<SQLiteDatabase> database =
      sqliteCacheFile::open(path, std::chrono::milliseconds(1)).value();
};

TEST_F(SQLiteRowsTest, ReadsTheRowsThatHoldThePairsOldestFirst) {
  write("1", {{"kind", "item"}, {"name", "a"}});
  write("2", {{"kind", "item"}, {"name", "b"}});
  write("3", {{"kind", "list"}, {"name", "a"}});
  write("1", {{"kind", "item"}, {"name", "a"}});

  const Meta items{{"kind", "item"}};
  const Meta listA{{"kind", "list"}, {"name", "a"}};
  EXPECT_THAT(keys(nullptr), ElementsAre("2", "3", "1"));
  EXPECT_THAT(keys(&items), ElementsAre("2", "1"));
  EXPECT_THAT(keys(&listA), ElementsAre("3"));
  EXPECT_FALSE(database->failed());
}

TEST_F(SQLiteRowsTest, FindsTheRarestPairAmongManyRows) {
  {
    SQLiteTransaction transaction(*database, SQLiteTransaction::Kind::writing);
    for (int i = 0; i < 200; ++i) {
      write(std::to_string(i), {{"a", "same"}, {"kind", "item"}, {"parity", std::to_string(i % 2)}});
    }
    write("rare", {{"a", "same"}, {"kind", "list"}, {"parity", "0"}});
    transaction.commit();
  }
  const Meta rare{{"a", "same"}, {"kind", "list"}, {"parity", "0"}};
  const Meta odd{{"a", "same"}, {"parity", "1"}};
  EXPECT_THAT(keys(&rare), ElementsAre("rare"));
  EXPECT_EQ(keys(&odd).size(), 100U);
}

TEST_F(SQLiteRowsTest, ANumberIsNotUsedTwice) {
  write("1", {});
  write("2", {});
  const auto before = sqliteRows::readHeaders(*database, "Rows", everyRow);
  for (const auto& header : before) sqliteRows::remove(*database, header.sequence);
  write("3", {});

  const auto after = sqliteRows::readHeaders(*database, "Rows", everyRow);
  ASSERT_EQ(after.size(), 1U);
  EXPECT_GT(after[0].sequence, before[1].sequence);
}

TEST_F(SQLiteRowsTest, ARemovedRowLeavesNothingInTheIndex) {
  write("1", {{"kind", "item"}, {"name", "a"}});
  sqliteRows::remove(*database, sqliteRows::readHeaders(*database, "Rows", everyRow).at(0).sequence);
  SQLiteStatement count = database->statement("SELECT count(*) FROM vellora_meta");
  ASSERT_TRUE(count.step());
  EXPECT_EQ(count.integer(0), 0);
}

TEST_F(SQLiteRowsTest, ATableWithAnUnknownAgeIsNotThere) {
  sqliteRows::writeTable(*database, Table::emptyWithKey("Rows", Table::MaxAge::sevenDays));
  EXPECT_EQ(sqliteRows::maxAgeOfTable(*database, "Rows"), Table::MaxAge::sevenDays);
  database->run("UPDATE vellora_table SET max_age = 60");
  EXPECT_EQ(sqliteRows::maxAgeOfTable(*database, "Rows"), std::nullopt);
}

/// Counts the steps of SQLite's virtual machine in connections that open while it lives.
class StepCounter {
 public:
  StepCounter() { sqlite3_auto_extension(reinterpret_cast<void (*)()>(&install)); }
  ~StepCounter() { sqlite3_cancel_auto_extension(reinterpret_cast<void (*)()>(&install)); }
  StepCounter(const StepCounter&) = delete;
  StepCounter& operator=(const StepCounter&) = delete;

  static int steps;

 private:
  static int install(sqlite3* handle, char**, const void*) {
    sqlite3_progress_handler(handle, 1, &count, nullptr);
    return SQLITE_OK;
  }
  static int count(void*) {
    ++steps;
    return 0;
  }
};

int StepCounter::steps = 0;

TEST_F(SQLiteRowsTest, LookingUpByPairsCostsTheSameInALargeTable) {
  const StepCounter counter;
  const std::string counted = folder.file("counted.db");
  database = sqliteCacheFile::open(counted, std::chrono::milliseconds(1)).value();
  const Meta pairs{{"kind", "item"}, {"name", "row 7"}};
  const auto stepsWithRows = [&](int from, int to) {
    SQLiteTransaction transaction(*database, SQLiteTransaction::Kind::writing);
    for (int i = from; i < to; ++i)
      write(std::to_string(i), {{"kind", "item"}, {"name", "row " + std::to_string(i)}});
    transaction.commit();
    StepCounter::steps = 0;
    EXPECT_THAT(keys(&pairs), ElementsAre("7"));
    return StepCounter::steps;
  };

  const int few = stepsWithRows(0, 100);
  const int many = stepsWithRows(100, 10'000);

  EXPECT_GT(few, 0);
  EXPECT_LE(many, few + 10);
  StepCounter::steps = 0;
  EXPECT_EQ(sqliteRows::readHeaders(*database, "Rows", CorvaneSDK::dataKeyEquals("7")).size(), 1U);
  EXPECT_LE(StepCounter::steps, few);
}

TEST_F(SQLiteRowsTest, ARowOfAnySizeIsVerified) {
  const auto size = static_cast<int>(LargeRows::smallestSize);
  for (const int length : {0, 1, size - 1, size, size + 1, 300'000}) {
    const std::string key = std::to_string(length);
    const Data data(std::string(static_cast<std::size_t>(length), 'x'));
    sqliteRows::write(*database, "Rows", Row{{{"name", key}}, key}, data, noon);
    const Meta pairs{{"name", key}};
    const auto rows = sqliteRows::read(*database, "Rows", live, &pairs);
    ASSERT_EQ(rows.size(), 1U) << length;
    EXPECT_EQ(rows[0]->data, data) << length;
  }
  database->run("UPDATE vellora_row SET checksum = checksum + 1");
  EXPECT_THAT(keys(nullptr), testing::IsEmpty());
}

}  // namespace
}  // namespace vellora::hostkit::tests
