#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "tests/hostkit/cache/sqlite/Generations.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/LongForm.h"
#include "tests/support/TemporaryFolder.h"

namespace vellora::hostkit::tests {
namespace {

using vellora::tests::ChildProcess;
using vellora::tests::longForm;
using vellora::tests::TemporaryFolder;

/// A program that caches is killed again and again, mostly while it writes, at times while it opens or
/// creates the file.
class SQLiteCacheKillTest : public testing::Test {
 protected:
  static int rounds() { return longForm("VELLORA_TEST_KILLS").value_or(60); }

  int upTo(int most) { return std::uniform_int_distribution<int>(0, most)(random); }

  /// Runs the writer until it is killed, and takes down what it told.
  void runWriter() {
    const bool early = upTo(2) == 0;
    const int writes = early ? 0 : 1 + upTo(20);
    const int microseconds = upTo(early ? 500 : 400);
    const bool creates = !std::filesystem::exists(path);
    SCOPED_TRACE(std::to_string(writes) + " writes, " + std::to_string(microseconds) + " microseconds");
    const auto ended =
        ChildProcess::run(CACHE_WRITER, {path, std::to_string(writes), std::to_string(microseconds)}, {});
    EXPECT_EQ(ended.exitCode, -1) << ended.err;
    std::istringstream lines(ended.out);
    std::string item;
    for (int generation = 0; lines >> generation && std::getline(lines >> std::ws, item);) {
      told[item] = generation;
      ++writesTold;
    }
    ++kills;
    if (ended.out.empty()) ++(creates ? whileCreating : whileOpening);
  }

  /// All that was told is there, or the write that followed; and items are as far as the writer's order
  /// allows.
  void expectNothingTornOrLost() {
    const auto opened = SQLiteCache::open(path);
    ASSERT_TRUE(opened.hasValue()) << opened.error().localizedDescription();
    std::vector<int> found;
    for (const std::string item : generations::items) {
      found.push_back(generations::generationIn(*opened.value(), item));
      EXPECT_THAT(found.back(), testing::AnyOf(told[item], told[item] + 1)) << item;
      told[item] = found.back();  // a write that the kill kept from being told
    }
    EXPECT_TRUE(std::is_sorted(found.rbegin(), found.rend())) << testing::PrintToString(found);
    EXPECT_LE(found.front() - found.back(), 1);
    for (const auto& name : fileNames(folder.path())) {
      EXPECT_EQ(name.find("damaged"), std::string::npos) << name;
    }
  }

  void beginAnew() {
    told.clear();
    for (const auto& name : fileNames(folder.path())) std::filesystem::remove(folder.path() / name);
  }

  std::mt19937 random{20'241};
  TemporaryFolder folder;
  const std::string path = folder.file("cache.db");
  std::map<std::string, int> told;  // the generation of each item that was told last
  int kills = 0;
  int whileOpening = 0;   // of these, before the first write succeeded
  int whileCreating = 0;  // the same, where there was no file
  int writesTold = 0;
};

TEST_F(SQLiteCacheKillTest, AProcessThatIsKilledLosesNothingItWasToldAndTearsNothing) {
  for (int round = 0; round < rounds() && !HasFailure(); ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    if (upTo(3) == 0) beginAnew();
    runWriter();
    expectNothingTornOrLost();
  }
  std::cout << "kills: " << kills << ", while opening " << whileOpening << ", while creating "
            << whileCreating << ", writes told " << writesTold << '\n';
}

TEST_F(SQLiteCacheKillTest, WhileAnotherProcessWritesReadersGetWholeWritesInTheirOrder) {
  const auto cache = SQLiteCache::open(path).value();
  ChildProcess writer(CACHE_WRITER, {path, "300", "0"}, {});
  std::map<std::string, int> latest;
  int ours = 0;
  while (latest["blob last"] < 40) {
    for (const std::string item : generations::items) {
      const int generation = generations::generationIn(*cache, item);
      ASSERT_GE(generation, latest[item]) << item;
      latest[item] = generation;
    }
    const std::string text = std::to_string(++ours);
    if (cache->save(Data(text), "ours")) {
      EXPECT_EQ(cache->load("ours"), Data(text));
    }
  }
  EXPECT_EQ(writer.wait().exitCode, -1);
}

}  // namespace
}  // namespace vellora::hostkit::tests
