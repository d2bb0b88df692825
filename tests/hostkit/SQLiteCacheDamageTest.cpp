#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/SQLiteCache.h"
#include "tests/hostkit/ManualClock.h"
#include "tests/hostkit/SQLiteFiles.h"
#include "tests/support/TemporaryFolder.h"
#include "vellora/Host/CacheTable.h"

namespace vellora::hostkit::tests {
namespace {

using vellora::tests::TemporaryFolder;

using CorvaneSDK::CacheTable;
using CorvaneSDK::Meta;
using CorvaneSDK::metaEquals;
using CorvaneSDK::Query;
using CorvaneSDK::Row;
using CorvaneSDK::Table;
using testing::ElementsAre;

constexpr std::size_t pageSize = 4096;

/// A small cache file in every kind of damage. Whatever is damaged, an answer is the right one or none.
class SQLiteCacheDamageTest : public testing::Test {
 protected:
  SQLiteCacheDamageTest() {
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
    const auto table = cache.createTable(Table::emptyWithKey("Rows", Table::MaxAge::sevenDays));
    for (const auto& name : names) {
      table->upsert({Data("earlier data of " + name), metaOf(name), std::nullopt});
    }
    for (const auto& name : names) table->upsert({Data("data of " + name), metaOf(name), std::nullopt});
  }

  static Meta metaOf(const std::string& name) { return {{"kind", "item"}, {"name", name}}; }

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
    const auto table = cache.createTable(Table::emptyWithKey("Rows", Table::MaxAge::sevenDays));
    if (table->upsert({Data(std::string("new")), metaOf("a"), std::nullopt})) {
      const auto found = table->load(Query::exact(metaEquals(metaOf("a"))));
      if (!found.empty()) {
        EXPECT_EQ(found[0].view(), "new");
      }
    }
  }

  void expectNoWrongRow(CacheTable& table) {
    for (const auto& name : names) {
      const auto found = table.load(Query::exact(metaEquals(metaOf(name))));
      ASSERT_LE(found.size(), 1U);
      if (!found.empty()) {
        EXPECT_EQ(found[0].view(), "data of " + name);
      }
      ++(found.empty() ? misses : answers);
    }
    std::vector<std::string> found;
    for (const Row& row : table.fetch(Query::oldest({}))) {
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
  TemporaryFolder folder;
  const std::string path = folder.file("cache.db");
  ManualClock clock;
  std::string sound;
  int answers = 0;
  int misses = 0;
  int setAside = 0;
};

TEST_F(SQLiteCacheDamageTest, AFlippedByteGivesNoWrongAnswer) {
  // Every byte takes minutes; the sample meets every page, and each kind of field somewhere.
  const std::size_t stride = std::getenv("VELLORA_TEST_EVERY_BYTE") != nullptr ? 1 : 61;
  for (std::size_t offset = 0; offset < sound.size() && !HasFailure(); offset += stride) {
    SCOPED_TRACE("byte " + std::to_string(offset));
    std::string damaged = sound;
    damaged[offset] = static_cast<char>(damaged[offset] ^ static_cast<char>(1 + offset % 255));
    expectNoWrongAnswer(damaged);
  }
  EXPECT_GT(answers, misses);
  EXPECT_GT(misses, 0);
  EXPECT_GT(setAside, 0);
}

TEST_F(SQLiteCacheDamageTest, ATruncatedFileGivesNoWrongAnswer) {
  for (std::size_t size = 0; size < sound.size(); size += pageSize / 2) {
    SCOPED_TRACE("size " + std::to_string(size));
    expectNoWrongAnswer(sound.substr(0, size));
  }
  EXPECT_GT(setAside, 0);
}

TEST_F(SQLiteCacheDamageTest, ADamagedLogGivesAStateThatOnceWas) {
  const std::string copy = folder.file("copy.db");
  std::string log;
  {
    const auto cache = open().value();
    cache->save(Data(std::string("second write")), "first");
    cache->save(Data(std::string("third write")), "first");
    std::filesystem::copy_file(path, copy);
    log = fileBytes(path + "-wal");
  }
  for (std::size_t offset = 0; offset < log.size(); offset += 331) {
    std::string damaged = log;
    damaged[offset] = static_cast<char>(damaged[offset] ^ 0x55);
    std::filesystem::copy_file(copy, path, std::filesystem::copy_options::overwrite_existing);
    writeFile(path + "-wal", damaged);
    const auto opened = open();
    ASSERT_TRUE(opened.hasValue());
    EXPECT_THAT(textOf(opened.value()->load("first")),
                testing::AnyOf("the first blob", "second write", "third write"));
  }
}

TEST_F(SQLiteCacheDamageTest, ADamagedBlobIsAbsentAndOthersStay) {
  std::string damaged = sound;
  damaged[damaged.find("the first blob")] = 'T';
  writeFile(path, damaged);

  const auto cache = open().value();

  EXPECT_EQ(cache->load("first"), std::nullopt);
  EXPECT_EQ(textOf(cache->load("second")), blobs.at("second"));
  EXPECT_TRUE(cache->save(Data(std::string("new")), "first"));
  EXPECT_EQ(textOf(cache->load("first")), "new");
}

TEST_F(SQLiteCacheDamageTest, ADamagedRowIsInNoAnswerAndTakesNoPosition) {
  std::string damaged = sound;
  damaged[damaged.find("data of b")] = 'D';
  writeFile(path, damaged);

  const auto table = open().value()->openTable("Rows");

  ASSERT_NE(table, nullptr);
  EXPECT_THAT(table->load(Query::exact(metaEquals(metaOf("b")))), testing::IsEmpty());
  const std::vector<Row> rows = table->fetch(Query::oldest({1, 2}));
  ASSERT_EQ(rows.size(), 1U);
  EXPECT_EQ(rows[0].meta, metaOf("c"));
}

TEST_F(SQLiteCacheDamageTest, ADamagedRowCanBePurged) {
  std::string damaged = sound;
  damaged[damaged.find("data of b")] = 'D';
  writeFile(path, damaged);
  auto table = open().value()->openTable("Rows");
  ASSERT_NE(table, nullptr);

  EXPECT_TRUE(table->purge([](const Row&) { return true; }));

  EXPECT_THAT(table->load(Query::oldest({})), testing::IsEmpty());
  table.reset();
  EXPECT_EQ(fileBytes(path).find("Data of b"), std::string::npos);
}

TEST_F(SQLiteCacheDamageTest, AFileThatTurnsOutDamagedLaterIsSetAsideThen) {
  const std::size_t rows = sound.find("data of a") / pageSize * pageSize;
  std::string damaged = sound;
  damaged.replace(rows, 16, std::string(16, '\xff'));  // the header of the page that holds the rows
  writeFile(path, damaged);
  const auto cache = open().value();
  const auto table = cache->openTable("Rows");
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(textOf(cache->load("first")), "the first blob");

  EXPECT_THAT(table->load(Query::exact(metaEquals(metaOf("a")))), testing::IsEmpty());

  EXPECT_TRUE(fileBytes(path + ".damaged-1") == damaged);
  EXPECT_EQ(cache->load("first"), std::nullopt);
  EXPECT_TRUE(table->upsert({Data(std::string("new")), metaOf("a"), std::nullopt}));
  EXPECT_THAT(table->load(Query::exact(metaEquals(metaOf("a")))), ElementsAre(Data(std::string("new"))));
  EXPECT_NE(cache->openTable("Rows"), nullptr);
}

TEST_F(SQLiteCacheDamageTest, AWriteThatADamagedIndexWouldHideIsStoredInAFreshFile) {
  removeAllFiles();
  for (const char letter : std::string("bdfhj")) {
    open().value()->save(Data("data of " + std::string(1, letter)), "key " + std::string(1, letter));
  }
  std::string damaged = fileBytes(path);
  const std::size_t rowsPage = damaged.find("data of b") / pageSize;
  std::size_t entry = damaged.find("key b");
  if (entry / pageSize == rowsPage) entry = damaged.find("key b", (rowsPage + 1) * pageSize);
  ASSERT_LT(entry, damaged.size());
  damaged[entry + 4] = 'z';  // the first entry of the index is now its largest: a search loses its way
  writeFile(path, damaged);
  const auto cache = open().value();

  EXPECT_TRUE(cache->save(Data(std::string("new")), "key e"));

  EXPECT_EQ(textOf(cache->load("key e")), "new");
  EXPECT_TRUE(std::filesystem::exists(path + ".damaged-1"));
}

TEST_F(SQLiteCacheDamageTest, AWriteThatMeetsTheDamageIsStoredInTheFreshFile) {
  const std::size_t page = sound.find("the first blob") / pageSize * pageSize;
  std::string damaged = sound;
  damaged.replace(page, 16, std::string(16, '\xff'));
  writeFile(path, damaged);
  const auto cache = open().value();

  EXPECT_TRUE(cache->save(Data(std::string("new")), "first"));

  EXPECT_EQ(textOf(cache->load("first")), "new");
  EXPECT_TRUE(std::filesystem::exists(path + ".damaged-1"));
}

}  // namespace
}  // namespace vellora::hostkit::tests
