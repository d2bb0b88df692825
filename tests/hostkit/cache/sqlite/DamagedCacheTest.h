#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "tests/hostkit/cache/ManualClock.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/TemporaryFolder.h"
#include "vellora/Host/CacheTable.h"

namespace vellora::hostkit::tests {

/// A small cache file to be damaged. Whatever is damaged, an answer is the right one or none.
class DamagedCacheTest : public testing::Test {
 protected:
  DamagedCacheTest() {
    fill(*open().value());
    sound = fileBytes(path);
  }

  [[nodiscard]] Result<std::shared_ptr<SQLiteCache>> open() const {
    SQLiteCache::Options options;
    options.clock = clock.function();
    options.busyTimeout = std::chrono::milliseconds(1);
    return SQLiteCache::open(path, options);
  }

  void fill(SQLiteCache& cache) const {
    for (const auto& [key, text] : blobs) {
      cache.save(Data(std::string("an earlier blob")), key);
      cache.save(Data(text), key);
    }
    const auto table = cache.createTable(rowsTable());
    for (const auto& name : names) {
      table->upsert({Data("earlier data of " + name), metaOf(name), std::nullopt});
    }
    for (const auto& name : names) table->upsert({Data("data of " + name), metaOf(name), std::nullopt});
  }

  static CorvaneSDK::Table rowsTable() {
    return CorvaneSDK::Table::emptyWithKey("Rows", CorvaneSDK::Table::MaxAge::sevenDays);
  }
  static CorvaneSDK::Meta metaOf(const std::string& name) { return {{"kind", "item"}, {"name", name}}; }

  static CorvaneSDK::Query exactly(const std::string& name) {
    return CorvaneSDK::Query::exact(CorvaneSDK::metaEquals(metaOf(name)));
  }

  /// Writes `bytes` as the file, opens it, and checks every answer; then that it can be written to, or says
  /// no.
  void expectNoWrongAnswer(const std::string& bytes) {
    writeFile(path, bytes);
    const auto opened = open();
    if (opened) {
      expectNoWrongAnswer(*opened.value());
    } else {
      EXPECT_TRUE(fileBytes(path) == bytes);
    }
    removeAllFiles();
  }

  void expectNoWrongAnswer(SQLiteCache& cache) {
    for (const auto& [key, text] : blobs) {
      const auto blob = cache.load(key);
      if (blob) {
        EXPECT_EQ(blob->view(), text);
      }
      ++(blob ? answers : misses);
    }
    if (const auto table = cache.openTable("Rows")) expectNoWrongRow(*table);
    if (cache.save(Data(std::string("new")), "first")) {
      EXPECT_EQ(textOf(cache.load("first")), "new");
    }
    const auto table = cache.createTable(rowsTable());
    if (table->upsert({Data(std::string("new")), metaOf("a"), std::nullopt})) {
      const auto found = table->load(exactly("a"));
      if (!found.empty()) {
        EXPECT_EQ(found[0].view(), "new");
      }
    }
  }

  void expectNoWrongRow(CorvaneSDK::CacheTable& table) {
    for (const auto& name : names) {
      const auto found = table.load(exactly(name));
      ASSERT_LE(found.size(), 1U);
      if (!found.empty()) {
        EXPECT_EQ(found[0].view(), "data of " + name);
      }
      ++(found.empty() ? misses : answers);
    }
    std::vector<std::string> found;
    for (const CorvaneSDK::Row& row : table.fetch(CorvaneSDK::Query::oldest({}))) {
      EXPECT_EQ(row.meta, metaOf(row.meta.at("name")));
      found.push_back(row.meta.at("name"));
    }
    EXPECT_TRUE(std::includes(names.begin(), names.end(), found.begin(), found.end()))
        << testing::PrintToString(found);
  }

  static std::string textOf(const std::optional<Data>& blob) {
    return blob ? std::string(blob->view()) : "none";
  }

  void removeAllFiles() {
    if (std::filesystem::exists(path + ".damaged-1")) ++setAside;
    for (const auto& name : fileNames(folder.path())) std::filesystem::remove(folder.path() / name);
  }

  const std::map<std::string, std::string> blobs{
      {"first", "the first blob"}, {"second", std::string(6000, 'b') + "the end"}, {"third", ""}};
  const std::vector<std::string> names{"a", "b", "c", "d"};
  vellora::tests::TemporaryFolder folder;
  const std::string path = folder.file("cache.db");
  ManualClock clock;
  std::string sound;
  int answers = 0;
  int misses = 0;
  int setAside = 0;
};

}  // namespace vellora::hostkit::tests
