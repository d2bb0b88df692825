#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <iostream>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "tests/hostkit/cache/sqlite/DamagedCacheTest.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/LongForm.h"
#include "tests/support/SlowBuild.h"
#include "vellora/Host/CacheTable.h"

namespace vellora::hostkit::tests {
namespace {

using vellora::tests::longForm;

using CorvaneSDK::Query;
using CorvaneSDK::Row;
using testing::ElementsAre;

constexpr std::size_t pageSize = 4096;

/// A cache file that is damaged while nobody has it open.
class SQLiteCacheDamageTest : public DamagedCacheTest {
 protected:
  /// The bytes to change in the short form: all but those that merely repeat the one before them, and a
  /// sample of these.
  [[nodiscard]] std::vector<std::size_t> tellingBytes() const {
    std::vector<std::size_t> offsets;
    for (std::size_t offset = 0; offset < sound.size(); ++offset) {
      if (offset % 61 == 0 || sound[offset] != sound[offset - 1]) offsets.push_back(offset);
    }
    return offsets;
  }

  void expectNoWrongAnswerWith(std::size_t offset, int change) {
    SCOPED_TRACE("byte " + std::to_string(offset) + ", change " + std::to_string(change));
    std::string damaged = sound;
    damaged[offset] = static_cast<char>(damaged[offset] ^ static_cast<char>(change));
    expectNoWrongAnswer(damaged);
  }

  void report(const std::string& what, std::size_t count) const {
    std::cout << what << ": " << count << ", answers " << answers << ", misses " << misses << ", set aside "
              << setAside << '\n';
  }
};

/// One test for each eighth of the bytes, each eighth spread over the file, since all of them take long.
class SQLiteCacheFlippedByteTest : public SQLiteCacheDamageTest,
                                   public testing::WithParamInterface<std::size_t> {};
constexpr std::size_t parts = 8;

TEST_P(SQLiteCacheFlippedByteTest, GivesNoWrongAnswer) {
  std::size_t flips = 0;
  if (const auto bits = longForm("VELLORA_TEST_EVERY_BYTE")) {
    for (std::size_t offset = GetParam(); offset < sound.size() && !HasFailure(); offset += parts) {
      for (int bit = 0; bit < *bits; ++bit, ++flips) expectNoWrongAnswerWith(offset, 1 << bit);
    }
  } else {
    constexpr std::size_t step = vellora::tests::codeIsSlow ? 3 * parts : parts;
    const std::vector<std::size_t> telling = tellingBytes();
    for (std::size_t i = GetParam(); i < telling.size() && !HasFailure(); i += step, ++flips) {
      expectNoWrongAnswerWith(telling[i], static_cast<int>(1 + telling[i] % 255));
    }
  }
  report("flips", flips);
  EXPECT_GT(answers, misses);
  EXPECT_GT(misses, 0);
  EXPECT_GT(setAside, 0);
}

INSTANTIATE_TEST_SUITE_P(EachEighth, SQLiteCacheFlippedByteTest, testing::Range(std::size_t{0}, parts));

TEST_F(SQLiteCacheDamageTest, TwoFlippedBytesGiveNoWrongAnswer) {
  const std::vector<std::size_t> telling = tellingBytes();
  std::mt19937 random(7);
  const auto draw = [&random](std::size_t count) {
    return std::uniform_int_distribution<std::size_t>(0, count - 1)(random);
  };
  const int pairs = longForm("VELLORA_TEST_PAIRS").value_or(300);
  for (int pair = 0; pair < pairs && !HasFailure(); ++pair) {
    SCOPED_TRACE("pair " + std::to_string(pair));
    std::string damaged = sound;
    for (int i = 0; i < 2; ++i) damaged[telling[draw(telling.size())]] = static_cast<char>(draw(256));
    expectNoWrongAnswer(damaged);
  }
  report("pairs of flips", static_cast<std::size_t>(pairs));
  EXPECT_GT(answers, misses);
  EXPECT_GT(misses, 0);
}

TEST_F(SQLiteCacheDamageTest, ATruncatedFileGivesNoWrongAnswer) {
  for (std::size_t size = 0; size < sound.size(); size += pageSize / 2) {
    SCOPED_TRACE("size " + std::to_string(size));
    expectNoWrongAnswer(sound.substr(0, size));
  }
  EXPECT_GT(setAside, 0);
}

/// A file whose last writes are still in its log, as a process that was killed leaves them.
class SQLiteCacheDamagedLogTest : public SQLiteCacheDamageTest {
 protected:
  SQLiteCacheDamagedLogTest() {
    const auto cache = open().value();
    for (const char* text : {"second write", "third write"}) cache->save(Data(std::string(text)), "first");
    cache->createTable(rowsTable())->upsert({Data(std::string("second row")), metaOf("a"), std::nullopt});
    file = fileBytes(path);
    log = fileBytes(path + "-wal");
  }

  /// Opens the file with `damagedLog`: every state that it once had is right.
  void expectAStateThatOnceWas(const std::string& damagedLog) {
    removeAllFiles();
    writeFile(path, file);
    writeFile(path + "-wal", damagedLog);
    const auto opened = open();
    ASSERT_TRUE(opened.hasValue()) << opened.error().localizedDescription();
    const std::string first = textOf(opened.value()->load("first"));
    EXPECT_THAT(first, testing::AnyOf("the first blob", "second write", "third write"));
    const auto rows = opened.value()->createTable(rowsTable())->load(exactly("a"));
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_THAT(std::string(rows[0].view()), testing::AnyOf("data of a", "second row"));
    // The row was written last, so it can't be new beside an old blob.
    if (rows[0].view() == "second row") {
      EXPECT_EQ(first, "third write");
    }
    ++seen[first];
  }

  std::string file;
  std::string log;
  std::map<std::string, int> seen;
};

TEST_F(SQLiteCacheDamagedLogTest, AFlippedByteGivesAStateThatOnceWas) {
  const std::size_t stride = longForm("VELLORA_TEST_EVERY_BYTE") ? 1 : 61;
  for (std::size_t offset = 0; offset < log.size() && !HasFailure(); offset += stride) {
    SCOPED_TRACE("byte " + std::to_string(offset));
    std::string damaged = log;
    damaged[offset] = static_cast<char>(damaged[offset] ^ 0x55);
    expectAStateThatOnceWas(damaged);
  }
  std::cout << "states seen: " << testing::PrintToString(seen) << '\n';
  EXPECT_EQ(seen.size(), 3U);
}

TEST_F(SQLiteCacheDamagedLogTest, ACutGivesAStateThatOnceWas) {
  const std::size_t stride = longForm("VELLORA_TEST_EVERY_BYTE") ? 1 : 251;
  for (std::size_t size = 0; size < log.size() && !HasFailure(); size += stride) {
    SCOPED_TRACE("size " + std::to_string(size));
    expectAStateThatOnceWas(log.substr(0, size));
  }
  std::cout << "states seen: " << testing::PrintToString(seen) << '\n';
  EXPECT_EQ(seen.size(), 3U);
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
  EXPECT_THAT(table->load(exactly("b")), testing::IsEmpty());
  const std::vector<Row> rows = table->fetch(Query::oldest({1, 2}));
  ASSERT_EQ(rows.size(), 1U);
  EXPECT_EQ(rows[0].meta, metaOf("c"));
}

TEST_F(SQLiteCacheDamageTest, ARowThatADamagedIndexLeadsToTwiceIsFoundOnce) {
  // The page of the index that holds the pairs.
  const std::size_t page = sound.rfind("name") / pageSize * pageSize;
  constexpr std::size_t pointers = 8;  // behind the header of a page of an index
  const auto entries = static_cast<std::size_t>(static_cast<unsigned char>(sound[page + 4]));
  ASSERT_GE(entries, 2U);
  for (std::size_t from = 0; from < entries; ++from) {
    for (std::size_t to = 0; to < entries; ++to) {
      SCOPED_TRACE(std::to_string(from) + " over " + std::to_string(to));
      std::string damaged = sound;
      damaged.replace(page + pointers + 2 * to, 2, sound.substr(page + pointers + 2 * from, 2));
      expectNoWrongAnswer(damaged);
    }
  }
  EXPECT_GT(misses, 0);
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

  EXPECT_THAT(table->load(exactly("a")), testing::IsEmpty());

  EXPECT_TRUE(fileBytes(path + ".damaged-1") == damaged);
  EXPECT_EQ(cache->load("first"), std::nullopt);
  EXPECT_TRUE(table->upsert({Data(std::string("new")), metaOf("a"), std::nullopt}));
  EXPECT_THAT(table->load(exactly("a")), ElementsAre(Data(std::string("new"))));
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
