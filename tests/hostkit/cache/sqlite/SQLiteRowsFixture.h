#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "hostkit/cache/sqlite/SQLiteCacheFile.h"
#include "hostkit/cache/sqlite/SQLiteRowChanges.h"
#include "hostkit/cache/sqlite/SQLiteRowQueries.h"
#include "tests/support/TemporaryFolder.h"

namespace vellora::hostkit::tests {

/// A fresh cache file with one table, "Rows", whose rows are all written at noon.
class SQLiteRowsFixture : public testing::Test {
 protected:
  void write(const std::string& key, const CorvaneSDK::Meta& meta) {
    sqliteRows::write(*database, "Rows", CorvaneSDK::Row{meta, key}, Data("data of " + key), noon);
  }

  /// The data keys of the rows that hold `pairs`, or of all.
  [[nodiscard]] std::vector<std::string> keys(const CorvaneSDK::Meta* pairs) const {
    std::vector<std::string> all;
    for (const auto& stored : sqliteRows::read(*database, "Rows", live, pairs))
      all.push_back(stored->row.dataKey);
    return all;
  }

  [[nodiscard]] std::vector<sqliteRows::Header> everyHeader() const {
    return sqliteRows::readHeaders(*database, "Rows", [](const CorvaneSDK::Row&) { return true; });
  }

  const Date noon = Date::since1970(1'700'000'000);
  const LiveSpan live{noon, CorvaneSDK::Table::MaxAge::sevenDays};
  vellora::tests::TemporaryFolder folder;
  std::shared_ptr<SQLiteDatabase> database =
      sqliteCacheFile::open(folder.file("cache.db"), std::chrono::milliseconds(1)).value();
};

}  // namespace vellora::hostkit::tests
