#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "hostkit/SQLiteCache.h"
#include "tests/hostkit/Generations.h"
#include "tests/hostkit/SQLiteFiles.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

namespace vellora::hostkit::tests {
namespace {

using vellora::tests::ChildProcess;
using vellora::tests::TemporaryFolder;

/// A program that caches is killed again and again, mostly while it writes, at times while it opens or
/// creates the file.
class SQLiteCacheKillTest : public testing::Test {
 protected:
  static int rounds() {
    const char* given = std::getenv("VELLORA_TEST_KILLS");
    return given != nullptr ? std::atoi(given) : 60;
  }

  int upTo(int most) { return std::uniform_int_distribution<int>(0, most)(random); }

  /// Runs the writer until it is killed, and takes down what it told.
  void runWriter() {
    const bool whileOpening = upTo(3) == 0;
    const int writes = whileOpening ? 0 : 1 + upTo(20);
    const int microseconds = upTo(whileOpening ? 4000 : 400);
    SCOPED_TRACE(std::to_string(writes) + " writes, " + std::to_string(microseconds) + " microseconds");
    const auto ended =
        ChildProcess::run(CACHE_WRITER, {path, std::to_string(writes), std::to_string(microseconds)}, {});
    EXPECT_EQ(ended.exitCode, -1) << ended.err;
    std::istringstream lines(ended.out);
    std::string item;
    for (int generation = 0; lines >> generation && std::getline(lines >> std::ws, item);) {
      told[item] = generation;
    }
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
};

TEST_F(SQLiteCacheKillTest, AProcessThatIsKilledLosesNothingItWasToldAndTearsNothing) {
  for (int round = 0; round < rounds() && !HasFailure(); ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    if (upTo(4) == 0) beginAnew();
    runWriter();
    expectNothingTornOrLost();
  }
}

}  // namespace
}  // namespace vellora::hostkit::tests
