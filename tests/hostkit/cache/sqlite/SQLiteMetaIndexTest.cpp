#include "hostkit/cache/sqlite/SQLiteMetaIndex.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "hostkit/cache/sqlite/SQLiteTransaction.h"
#include "tests/hostkit/cache/sqlite/SQLiteRowsFixture.h"

namespace vellora::hostkit::tests {
namespace {

using CorvaneSDK::Meta;
using testing::ElementsAre;

using SQLiteMetaIndexTest = SQLiteRowsFixture;

TEST_F(SQLiteMetaIndexTest, FindsTheRarestPairAmongManyRows) {
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
  EXPECT_EQ(sqliteMetaIndex::rarestPair(*database, "Rows", rare).first, "kind");
  EXPECT_EQ(sqliteMetaIndex::rarestPair(*database, "Rows", odd).first, "parity");
  EXPECT_THAT(keys(&rare), ElementsAre("rare"));
  EXPECT_EQ(keys(&odd).size(), 100U);
}

TEST_F(SQLiteMetaIndexTest, OnePairIsTheRarestWithoutALook) {
  const Meta one{{"kind", "nowhere"}};
  EXPECT_EQ(&sqliteMetaIndex::rarestPair(*database, "Rows", one), &*one.begin());
}

TEST_F(SQLiteMetaIndexTest, HoldsWhatWasAddedUntilItIsRemoved) {
  const Meta meta{{"kind", "item"}, {"name", "a"}};
  sqliteMetaIndex::add(*database, "Rows", 7, meta);
  EXPECT_TRUE(sqliteMetaIndex::holds(*database, "Rows", 7, meta));
  EXPECT_TRUE(sqliteMetaIndex::holds(*database, "Rows", 7, {{"name", "a"}}));
  EXPECT_FALSE(sqliteMetaIndex::holds(*database, "Rows", 7, {{"name", "b"}}));
  EXPECT_FALSE(sqliteMetaIndex::holds(*database, "Rows", 8, meta));
  EXPECT_FALSE(sqliteMetaIndex::holds(*database, "Others", 7, meta));
  sqliteMetaIndex::remove(*database, 7);
  EXPECT_FALSE(sqliteMetaIndex::holds(*database, "Rows", 7, meta));
  EXPECT_FALSE(database->failed());
}

}  // namespace
}  // namespace vellora::hostkit::tests
