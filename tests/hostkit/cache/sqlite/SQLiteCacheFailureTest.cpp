#include "hostkit/cache/sqlite/SQLiteCacheFailure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "tests/hostkit/cache/sqlite/CacheFileFixture.h"
#include "tests/hostkit/cache/sqlite/FaultyFiles.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Host/Query.h"
#include "vellora/Host/Table.h"

namespace vellora::hostkit::tests {
namespace {

using CorvaneSDK::Table;
using Operation = SQLiteCacheFailure::Operation;
using testing::ElementsAre;
using testing::IsEmpty;

/// A cache that tells of its failures.
class SQLiteCacheFailureTest : public CacheFileFixture {
 protected:
  [[nodiscard]] std::shared_ptr<SQLiteCache> openObserved() {
    SQLiteCache::Options options;
    options.busyTimeout = std::chrono::milliseconds(1);
    options.observer = [this](const SQLiteCacheFailure& failure) { failures.push_back(failure); };
    return SQLiteCache::open(path, options).value();
  }

  [[nodiscard]] std::vector<Operation> operations() const {
    std::vector<Operation> found;
    for (const auto& failure : failures) found.push_back(failure.operation);
    return found;
  }

  std::vector<SQLiteCacheFailure> failures;
};

TEST_F(SQLiteCacheFailureTest, NamesTheFileAndTheReason) {
  SQLiteCacheFailure failure{Operation::writing, {Reason::failed, "/c.db", "database or disk is full"}};
  EXPECT_EQ(failure.localizedDescription(),
            "The cache file \"/c.db\" could not be written to (database or disk is full).");
  failure.operation = Operation::reading;
  EXPECT_EQ(failure.localizedDescription(),
            "The cache file \"/c.db\" could not be read (database or disk is full).");
  failure.error = {Reason::otherOwner, "/c.db", ""};
  EXPECT_EQ(failure.localizedDescription(), failure.error.localizedDescription());
}

TEST_F(SQLiteCacheFailureTest, ALockIsToldOnceForEachWriteThatItStops) {
  const auto cache = openObserved();
  const auto table = cache->createTable(Table::emptyWithKey("t", Table::MaxAge::sevenDays));
  RawDatabase other(path);
  other.run("BEGIN IMMEDIATE");

  EXPECT_FALSE(cache->save(Data("1"), "a"));
  EXPECT_FALSE(table->upsert({Data("1"), {{"name", "Account"}}, std::nullopt}));
  EXPECT_EQ(cache->load("a"), std::nullopt) << "which no lock of a writer stops";

  ASSERT_THAT(operations(), ElementsAre(Operation::writing, Operation::writing));
  EXPECT_EQ(failures.front().error, (SQLiteCacheError{Reason::locked, path, "database is locked"}));
  other.run("ROLLBACK");
  EXPECT_TRUE(cache->save(Data("1"), "a"));
  EXPECT_EQ(failures.size(), 2U);
}

TEST_F(SQLiteCacheFailureTest, AFullDiskAndABrokenOneAreTold) {
  FaultyFiles files;
  {
    const auto cache = openObserved();
    files.failAt(1, FaultyFiles::Fault::full, FaultyFiles::Lasting::fromThenOn);
    EXPECT_FALSE(cache->save(Data("1"), "a"));
    ASSERT_THAT(operations(), ElementsAre(Operation::writing));
    EXPECT_EQ(failures.front().error.reason, Reason::failed);
    EXPECT_EQ(failures.front().error.detail, "database or disk is full");
    files.failAt(1, FaultyFiles::Fault::error, FaultyFiles::Lasting::fromThenOn);
    EXPECT_EQ(cache->load("a"), std::nullopt);
    EXPECT_THAT(operations(), ElementsAre(Operation::writing, Operation::reading));
    files.heal();
  }
}

TEST_F(SQLiteCacheFailureTest, ReadingATableIsAReading) {
  FaultyFiles files;
  {
    const auto cache = openObserved();
    const auto table = cache->createTable(Table::emptyWithKey("t", Table::MaxAge::sevenDays));
    files.failAt(1, FaultyFiles::Fault::error, FaultyFiles::Lasting::fromThenOn);
    EXPECT_THAT(table->load(CorvaneSDK::Query::oldest({0, 1})), IsEmpty());
    EXPECT_EQ(cache->openTable("t"), nullptr);
    EXPECT_FALSE(table->purge(CorvaneSDK::dataKeyEquals("x")));
    EXPECT_THAT(operations(), ElementsAre(Operation::reading, Operation::reading, Operation::reading));
    files.heal();
  }
}

TEST_F(SQLiteCacheFailureTest, TheObserverMayUseTheCache) {
  SQLiteCache* used = nullptr;
  std::optional<Data> seen;
  SQLiteCache::Options options;
  options.busyTimeout = std::chrono::milliseconds(1);
  options.observer = [&](const SQLiteCacheFailure&) { seen = used->load("a"); };
  const auto cache = SQLiteCache::open(path, options).value();
  used = cache.get();
  ASSERT_TRUE(cache->save(Data("1"), "a"));
  RawDatabase other(path);
  other.run("BEGIN IMMEDIATE");
  EXPECT_FALSE(cache->save(Data("2"), "a"));
  EXPECT_EQ(seen, Data("1"));
}

TEST_F(SQLiteCacheFailureTest, NothingIsToldOfWhatIsOnlyAbsent) {
  const auto cache = openObserved();
  EXPECT_EQ(cache->load("absent"), std::nullopt);
  EXPECT_EQ(cache->openTable("absent"), nullptr);
  EXPECT_TRUE(cache->remove("absent"));
  EXPECT_THAT(failures, IsEmpty());
}

}  // namespace
}  // namespace vellora::hostkit::tests
