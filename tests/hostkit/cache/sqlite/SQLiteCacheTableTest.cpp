#include "hostkit/cache/sqlite/SQLiteCacheTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "hostkit/cache/sqlite/SQLiteCacheFile.h"
#include "tests/hostkit/cache/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace vellora::hostkit::tests {
namespace {

using vellora::tests::TemporaryFolder;

using CorvaneSDK::metaEquals;
using CorvaneSDK::Query;
using CorvaneSDK::Row;
using CorvaneSDK::Table;
using testing::ElementsAre;
using testing::IsEmpty;

class SQLiteCacheTableTest : public testing::Test {
 protected:
  [[nodiscard]] std::shared_ptr<SQLiteCacheTable> tableWithClock(std::function<Date()> function) const {
    auto store = std::make_shared<SQLiteStore>(sqliteCacheFile::open(path, timeout).value(), path, timeout,
                                               std::move(function));
    return SQLiteCacheTable::create(store, Table::emptyWithKey("Rows", Table::MaxAge::sevenDays));
  }

  const std::chrono::milliseconds timeout{1};
  TemporaryFolder folder;
  const std::string path = folder.file("cache.db");
  ManualClock clock;
};

TEST_F(SQLiteCacheTableTest, ARowRewrittenWhileItsPurgeIsDecidedStays) {
  const auto table = tableWithClock(clock.function());
  table->upsert({Data(std::string("old")), {{"name", "a"}}, std::nullopt});

  EXPECT_TRUE(table->purge([&table](const Row&) {
    table->upsert({Data(std::string("new")), {{"name", "a"}}, std::nullopt});
    return true;
  }));

  EXPECT_THAT(table->load(Query::exact(metaEquals({{"name", "a"}}))), ElementsAre(Data(std::string("new"))));
}

TEST_F(SQLiteCacheTableTest, ALargeRowIsReadOnceAndItsBytesAreShared) {
  const auto table = tableWithClock(clock.function());
  const auto elsewhere = tableWithClock(clock.function());
  const auto query = Query::exact(metaEquals({{"name", "list"}}));
  const Data first(std::string(100'000, 'a'));
  const Data second(std::string(100'000, 'b'));
  table->upsert({first, {{"name", "list"}}, std::nullopt});

  const auto read = table->load(query).at(0);
  EXPECT_EQ(read, first);
  EXPECT_TRUE(table->load(query).at(0).sharesBufferWith(read));

  elsewhere->upsert({second, {{"name", "list"}}, std::nullopt});
  EXPECT_THAT(table->load(query), ElementsAre(second)) << "another connection has written it anew";
  elsewhere->purge(metaEquals({{"name", "list"}}));
  EXPECT_THAT(table->load(query), IsEmpty());
}

TEST_F(SQLiteCacheTableTest, ADateThatIsNoNumberIsNotWritten) {
  const auto table =
      tableWithClock([] { return Date::sinceReferenceDate(std::numeric_limits<double>::quiet_NaN()); });
  EXPECT_FALSE(table->upsert({Data(std::string("1")), {{"name", "a"}}, std::nullopt}));
  EXPECT_THAT(table->load(Query::oldest({})), IsEmpty());
  EXPECT_FALSE(std::filesystem::exists(path + ".damaged-1"));
}

TEST_F(SQLiteCacheTableTest, ADateOfNoSecondsIsADateLikeAnyOther) {
  const auto table = tableWithClock([] { return Date::sinceReferenceDate(-0.0); });
  EXPECT_TRUE(table->upsert({Data(std::string("1")), {{"name", "a"}}, std::nullopt}));
  EXPECT_THAT(table->load(Query::oldest({})), ElementsAre(Data(std::string("1"))));
}

}  // namespace
}  // namespace vellora::hostkit::tests
