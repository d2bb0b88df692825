#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <utility>

#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "hostkit/cache/sqlite/SQLiteCacheError.h"
#include "tests/hostkit/cache/ManualClock.h"
#include "tests/hostkit/cache/sqlite/CacheLedger.h"
#include "tests/hostkit/cache/sqlite/FaultyFiles.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/LongForm.h"
#include "tests/support/TemporaryFolder.h"

namespace vellora::hostkit::tests {
namespace {

using vellora::tests::longForm;
using vellora::tests::TemporaryFolder;

using Fault = FaultyFiles::Fault;
using Lasting = FaultyFiles::Lasting;

/// What is at the path when the cache is opened.
enum class Start {
  nothing,
  soundFile,
  damagedFile,  ///< of ours, but its beginning gone: seen when it is opened
  damagedPage,  ///< in a page of rows: seen when these are read or written
};

bool isSound(Start start) {
  return start == Start::nothing || start == Start::soundFile;
}

/// One cache file that is opened, read, written and closed while one of its file layer's calls fails: each of
/// them in turn.
class SQLiteCacheFaultTest : public testing::Test {
 protected:
  [[nodiscard]] Result<std::shared_ptr<SQLiteCache>> open(const std::string& where) const {
    SQLiteCache::Options options;
    options.clock = clock.function();
    options.busyTimeout = std::chrono::milliseconds(0);
    return SQLiteCache::open(where, options);
  }

  /// Every answer is the right one, or none where a damaged file may have taken it away.
  void expectAllThere(SQLiteCache& cache, Start start) const {
    if (isSound(start)) {
      ledger.expectAllRight(cache);
    } else {
      ledger.expectNothingWrong(cache);
    }
  }

  /// What is on the disk is what a process that ends here and now leaves behind.
  void expectSoundWhereTheProcessEnds() const {
    const std::string copy = folder.file("copy.db");
    for (const std::string suffix : {"", "-wal"}) {
      if (std::filesystem::exists(path + suffix)) std::filesystem::copy_file(path + suffix, copy + suffix);
    }
    if (!std::filesystem::exists(copy)) return;
    {
      const auto opened = open(copy);
      ASSERT_TRUE(opened.hasValue()) << opened.error().localizedDescription();
      ledger.expectAllRight(*opened.value());
    }
    EXPECT_FALSE(std::filesystem::exists(copy + ".damaged-1"));
    std::filesystem::remove(copy);
  }

  /// The cache; null, after a clear error, when the fault has kept it from being opened.
  [[nodiscard]] std::shared_ptr<SQLiteCache> openOrNone() const {
    const auto opened = open(path);
    if (opened) return opened.value();
    const auto* cause = opened.error().as<SQLiteCacheError>();
    EXPECT_NE(cause, nullptr);
    using Reason = SQLiteCacheError::Reason;
    EXPECT_THAT(cause->reason, testing::AnyOf(Reason::failed, Reason::unwritable, Reason::locked));
    EXPECT_NE(cause->detail, "");
    return nullptr;
  }

  void damage(Start start) const {
    std::string bytes = fileBytes(path);
    const std::size_t at = start == Start::damagedFile ? 0 : bytes.find("old kept") / 4096 * 4096;
    writeFile(path, bytes.replace(at, 16, std::string(16, '\xff')));
  }

  /// Uses the cache with call number `call` failing; true when there was such a call.
  bool survives(std::int64_t call, Fault fault, Lasting lasting, Start start) {
    ledger = {};
    if (start != Start::nothing) ledger.fill(*open(path).value());
    const bool sound = isSound(start);
    if (!sound) damage(start);
    FaultyFiles files;
    files.failAt(call, fault, lasting);
    std::shared_ptr<SQLiteCache> cache = openOrNone();
    if (cache) ledger.use(*cache);
    const bool failed = files.hasFailed();
    if (lasting == Lasting::fromThenOn && sound) {
      files.heal();
      expectSoundWhereTheProcessEnds();
      files.failAt(1, fault, lasting);
    }
    if (call % 2 == 0) cache.reset();  // closes it with the fault, else without
    files.heal();
    expectUsableAfterwards(std::move(cache), start);
    return failed;
  }

  void expectUsableAfterwards(std::shared_ptr<SQLiteCache> cache, Start start) {
    if (!cache) {
      const auto opened = open(path);
      ASSERT_TRUE(opened.hasValue()) << opened.error().localizedDescription();
      cache = opened.value();
    }
    expectAllThere(*cache, start);
    ledger.save(*cache, "kept", "afterwards");
    EXPECT_EQ(CacheLedger::loadBlob(*cache, "kept"), "afterwards");
    cache.reset();
    cache = open(path).value();
    expectAllThere(*cache, start);
    EXPECT_EQ(CacheLedger::loadBlob(*cache, "kept"), "afterwards");
    cache.reset();
    for (const auto& name : fileNames(folder.path())) {
      EXPECT_TRUE(name == "cache.db" || name.starts_with("cache.db.damaged-")) << name;
      std::filesystem::remove(folder.path() / name);
    }
  }

  /// Fails each call in turn; in the short form every third where a damaged file is replaced, which is slow.
  void failEachCall(Start start, Fault fault, Lasting lasting) {
    const int step = isSound(start) || longForm("VELLORA_TEST_EVERY_CALL") ? 1 : 3;
    std::int64_t failed = 0;
    for (std::int64_t call = 1; !HasFailure(); call += step, ++failed) {
      SCOPED_TRACE("call " + std::to_string(call));
      if (!survives(call, fault, lasting, start)) break;
    }
    EXPECT_GT(failed, 5);
    std::cout << "failed calls: " << failed << '\n';
  }

  TemporaryFolder folder;
  const std::string path = folder.file("cache.db");
  ManualClock clock;
  CacheLedger ledger;
};

struct Attack {
  Fault fault;
  Lasting lasting;
};

/// Tests of every kind of fault.
class SQLiteCacheEachFaultTest : public SQLiteCacheFaultTest, public testing::WithParamInterface<Attack> {
 protected:
  void failEachCall(Start start) {
    SQLiteCacheFaultTest::failEachCall(start, GetParam().fault, GetParam().lasting);
  }
};

INSTANTIATE_TEST_SUITE_P(, SQLiteCacheEachFaultTest,
                         testing::Values(Attack{Fault::full, Lasting::once},
                                         Attack{Fault::full, Lasting::fromThenOn},
                                         Attack{Fault::error, Lasting::once},
                                         Attack{Fault::error, Lasting::fromThenOn}),
                         [](const auto& attack) {
                           const bool full = attack.param.fault == Fault::full;
                           const bool once = attack.param.lasting == Lasting::once;
                           return std::string(full ? "Full" : "Broken") + (once ? "Once" : "FromThenOn");
                         });

TEST_P(SQLiteCacheEachFaultTest, LeavesAFreshFileUsableOrNone) {
  failEachCall(Start::nothing);
}

TEST_P(SQLiteCacheEachFaultTest, LosesAndMixesNothingInAFileThatIsThere) {
  failEachCall(Start::soundFile);
}

TEST_P(SQLiteCacheEachFaultTest, KeepsADamagedFileFromBeingReplacedForAWhileAtMost) {
  failEachCall(Start::damagedFile);
}

TEST_P(SQLiteCacheEachFaultTest, KeepsAFileFoundDamagedLaterFromBeingReplacedForAWhileAtMost) {
  failEachCall(Start::damagedPage);
}

TEST_F(SQLiteCacheFaultTest, NoLockOfAnotherProcessLosesOrMixesAnything) {
  failEachCall(Start::soundFile, Fault::busy, Lasting::once);
}

}  // namespace
}  // namespace vellora::hostkit::tests
