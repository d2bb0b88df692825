#include "hostkit/cache/sqlite/SQLiteRowQueries.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

#include "hostkit/cache/sqlite/SQLiteCacheFile.h"
#include "hostkit/cache/sqlite/SQLiteTransaction.h"
#include "tests/hostkit/cache/sqlite/SQLiteRowsFixture.h"
#include "vellora/Host/Table.h"

namespace vellora::hostkit::tests {
namespace {

using CorvaneSDK::Meta;
using CorvaneSDK::Row;
using CorvaneSDK::Table;
using testing::ElementsAre;

using SQLiteRowQueriesTest = SQLiteRowsFixture;

TEST_F(SQLiteRowQueriesTest, ReadsTheRowsThatHoldThePairsOldestFirst) {
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

TEST_F(SQLiteRowQueriesTest, ARowHoldsEachOfThePairs) {
  write("1", {{"kind", "item"}, {"name", "a"}});
  write("2", {{"kind", "item"}, {"name", "b"}});
  write("3", {{"kind", "list"}, {"name", "a"}});
  write("4", {{"kind", "list"}, {"name", "b"}});
  const Meta pairs{{"kind", "list"}, {"name", "a"}};
  EXPECT_THAT(keys(&pairs), ElementsAre("3"));
}

TEST_F(SQLiteRowQueriesTest, ARowOfAnySizeIsVerified) {
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

TEST_F(SQLiteRowQueriesTest, OnlyLiveRowsAreReadAndAllAreInAll) {
  write("old", {});
  const LiveSpan later(Date::since1970(1'700'000'000 + 8 * 24 * 3600.0), Table::MaxAge::sevenDays);
  EXPECT_THAT(sqliteRows::read(*database, "Rows", later, nullptr), testing::IsEmpty());
  EXPECT_EQ(sqliteRows::readAll(*database, "Rows").size(), 1U);
  EXPECT_THAT(sqliteRows::readAll(*database, "Others"), testing::IsEmpty());
}

TEST_F(SQLiteRowQueriesTest, AllTellsWhatIsDamagedAndWhatNoIndexHas) {
  write("1", {{"kind", "item"}});
  write("2", {{"kind", "item"}});
  database->run("UPDATE vellora_row SET checksum = checksum + 1 WHERE data_key = CAST('1' AS BLOB)");
  database->run("DELETE FROM vellora_meta");
  const auto rows = sqliteRows::readAll(*database, "Rows");
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(rows[0].row.dataKey, "1");
  EXPECT_EQ(rows[0].data, std::nullopt);
  EXPECT_EQ(rows[1].data, Data("data of 2"));
  EXPECT_FALSE(rows[1].found);
}

TEST_F(SQLiteRowQueriesTest, HeadersAreThoseThatAnIndexFinds) {
  write("1", {{"kind", "item"}});
  write("2", {{"kind", "list"}});
  EXPECT_EQ(everyHeader().size(), 2U);
  const auto byKey = sqliteRows::readHeaders(*database, "Rows", CorvaneSDK::dataKeyEquals("2"));
  ASSERT_EQ(byKey.size(), 1U);
  EXPECT_EQ(byKey[0].row->meta, (Meta{{"kind", "list"}}));
  const auto byMeta = sqliteRows::readHeaders(*database, "Rows", CorvaneSDK::metaEquals({{"kind", "item"}}));
  ASSERT_EQ(byMeta.size(), 1U);
  EXPECT_EQ(byMeta[0].row->dataKey, "1");
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

TEST_F(SQLiteRowQueriesTest, LookingUpByPairsCostsTheSameInALargeTable) {
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

}  // namespace
}  // namespace vellora::hostkit::tests
