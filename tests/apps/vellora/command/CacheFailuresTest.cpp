#include "apps/vellora/command/CacheFailures.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/cache/sqlite/SQLiteCacheError.h"
#include "hostkit/cache/sqlite/SQLiteCacheFailure.h"
#include "hostkit/secrets/KnownSecrets.h"
#include "tests/apps/vellora/CommandFixture.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"

namespace vellora::command {
namespace {

using hostkit::SQLiteCacheError;
using hostkit::SQLiteCacheFailure;
using hostkit::tests::RawDatabase;
using testing::HasSubstr;

TEST(CacheFailuresTest, TheFirstOfSeveralStands) {
  CacheFailures failures(std::make_shared<hostkit::KnownSecrets>());
  EXPECT_EQ(failures.first(), std::nullopt);
  const SQLiteCacheError full{SQLiteCacheError::Reason::failed, "/c.db", "disk full"};
  const SQLiteCacheError broken{SQLiteCacheError::Reason::failed, "/c.db", "disk broken"};
  failures.note({SQLiteCacheFailure::Operation::writing, full});
  failures.note({SQLiteCacheFailure::Operation::reading, broken});
  EXPECT_EQ(failures.first(), "The cache file \"/c.db\" could not be written to (disk full).");
}

TEST(CacheFailuresTest, AFailureInWordsIsOneToo) {
  CacheFailures failures(std::make_shared<hostkit::KnownSecrets>());
  failures.note("gone");
  failures.note("full");
  EXPECT_EQ(failures.first(), "gone");
}

TEST(CacheFailuresTest, AReasonThatQuotesASecretIsCleaned) {
  const auto secrets = std::make_shared<hostkit::KnownSecrets>();
  secrets->note("abc-secret99");
  CacheFailures failures(secrets);
  failures.note({SQLiteCacheFailure::Operation::reading,
                 {SQLiteCacheError::Reason::failed, "/c.db", "no such table: abc-secret99"}});
  EXPECT_EQ(failures.first(), "The cache file \"/c.db\" could not be read (no such table: [token]).");
}

class CacheFileSizeTest : public CommandFixture {};

TEST_F(CacheFileSizeTest, ALimitOnTheSizeOfFilesIsToldLikeAFullDisk) {
  std::vector<std::string> words{"-c", "ulimit -f 0; exec \"$@\"", "sh", VELLORA};
  for (const auto& word : withServer({"names", "Account"})) words.push_back(word);
  const auto ended = ChildProcess::run("/bin/sh", words, options);
  EXPECT_EQ(ended.exitCode, 7);
  EXPECT_THAT(ended.err, HasSubstr(cacheFile));
}

/// A cache file that another process keeps from being written.
class LockedCacheTest : public CommandFixture {
 protected:
  void SetUp() override {
    CommandFixture::SetUp();
    ASSERT_EQ(run({"search-layouts", "Case"}).exitCode, 0);
  }

  /// The line of the error, behind what is missing.
  [[nodiscard]] std::string reason() const {
    return "The cache file \"" + cacheFile + "\" could not be written to (database is locked).";
  }
};

TEST_F(LockedCacheTest, KeysThatAreMissingBecauseOfItAreExitCodeSevenWithTheReason) {
  RawDatabase other(cacheFile);
  other.run("BEGIN IMMEDIATE");
  const auto ended = run({"ids", "001000000000009"});
  EXPECT_EQ(ended.exitCode, 7);
  EXPECT_EQ(ended.err, "vellora: no object type for 001000000000009: " + reason() + "\n");
  other.run("ROLLBACK");
  EXPECT_EQ(run({"ids", "001000000000009"}).exitCode, 0);
}

TEST_F(LockedCacheTest, AWaitThatRunsOutTellsTheCachesReasonToo) {
  ASSERT_EQ(run({"names", "Account"}).exitCode, 0);  // so that both lists are cached
  server->setFault("/services/data/v50.0/query", Fault::never());
  RawDatabase other(cacheFile);
  other.run("BEGIN IMMEDIATE");
  const std::string path = "/services/data/v50.0/query";
  const auto [ended, wait] = runUntilAsked(path, {"ids", "00B000000000001"});
  EXPECT_EQ(ended.exitCode, 5);
  EXPECT_EQ(ended.err, "vellora: no object type for 00B000000000001: no answer to " + path + " within " +
                           wait + " s; " + reason() + "; give it longer with --wait SECONDS\n");
}

TEST_F(LockedCacheTest, WhatIsAnsweredAllTheSameIsAnswered) {
  RawDatabase other(cacheFile);
  other.run("BEGIN IMMEDIATE");
  EXPECT_EQ(run({"search-layouts", "Case", "Account"}).exitCode, 0);
}

TEST_F(LockedCacheTest, IsLogged) {
  RawDatabase other(cacheFile);
  other.run("BEGIN IMMEDIATE");
  EXPECT_THAT(run({"--log", "error", "search-layouts", "Account"}).err,
              HasSubstr(" error " + reason() + "\n"));
}

}  // namespace
}  // namespace vellora::command
