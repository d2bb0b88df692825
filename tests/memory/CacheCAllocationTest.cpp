#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/cache/CacheArchive.h"
#include "hostkit/cache/sqlite/OwnCacheFile.h"
#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "hostkit/cache/sqlite/SQLiteCacheContents.h"
#include "hostkit/cache/sqlite/SQLiteCacheError.h"
#include "tests/hostkit/cache/ManualClock.h"
#include "tests/hostkit/cache/sqlite/CacheLedger.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/memory/EachCAllocation.h"
#include "tests/support/CAllocationFailure.h"
#include "tests/support/TemporaryFolder.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Host/Query.h"
#include "vellora/Host/Table.h"
#include "vellora/Platform/Values/Data.h"

// Each allocation of SQLite and OpenSSL, which digests its owner, fails in turn while a cache is used. What a
// write told is there, what it refused has changed nothing, and with memory there again all goes on as
// before. What has memory from the beginning to the end is not refused.

namespace vellora::hostkit::tests {
namespace {

using vellora::tests::CAllocationFailure;
using vellora::tests::failEachCAllocationOf;
using vellora::tests::TemporaryFolder;
using Extent = CAllocationFailure::Extent;

constexpr double eightDays = 8 * 24 * 60 * 60;

class CacheCAllocationTest : public testing::Test {
 protected:
  [[nodiscard]] Result<std::shared_ptr<SQLiteCache>> tryToOpen(const char* owner = "alice") const {
    SQLiteCache::Options options;
    options.clock = clock.function();
    options.owner = owner;
    return SQLiteCache::open(path, std::move(options));
  }

  [[nodiscard]] std::shared_ptr<SQLiteCache> open() const {
    const auto opened = tryToOpen();
    EXPECT_TRUE(opened.hasValue()) << opened.error().localizedDescription();
    return opened ? opened.value() : nullptr;
  }

  void beginWith(bool isFilled) {
    for (const auto& name : fileNames(folder.path())) std::filesystem::remove(folder.path() / name);
    ledger = {};
    if (isFilled) ledger.fill(*open());
  }

  /// A filled cache, closed, whose file is damaged where it has that text: at the beginning of the page.
  void damage(const std::string& text) {
    constexpr std::size_t pageSize = 4096;
    beginWith(true);
    std::string bytes = fileBytes(path);
    const std::size_t found = bytes.find(text);
    ASSERT_NE(found, std::string::npos);
    writeFile(path, bytes.replace(found / pageSize * pageSize, 16, std::string(16, '\xff')));
  }

  /// It was set aside once. Deletes it.
  void expectSetAside() {
    EXPECT_TRUE(std::filesystem::remove(path + ".damaged-1"));
    for (const char* suffix : {"-wal", "-shm"}) std::filesystem::remove(path + ".damaged-1" + suffix);
    EXPECT_FALSE(std::filesystem::exists(path + ".damaged-2"));
  }

  /// How many blocks there are once the libraries have what they keep for ever.
  [[nodiscard]] std::size_t blocksOnceUsed() const {
    static_cast<void>(open());
    return CAllocationFailure::liveBlocks();
  }

  /// The cache is as it was told to be, and works.
  void expectUsable(std::shared_ptr<SQLiteCache> cache) {
    if (!cache) cache = open();
    ASSERT_NE(cache, nullptr);
    ledger.expectAllRight(*cache);
    ledger.save(*cache, "kept", "afterwards");
    EXPECT_EQ(CacheLedger::loadBlob(*cache, "kept"), "afterwards");
    cache.reset();
    cache = open();
    ASSERT_NE(cache, nullptr);
    ledger.expectAllRight(*cache);
    EXPECT_EQ(CacheLedger::loadBlob(*cache, "kept"), "afterwards");
    cache.reset();
    EXPECT_EQ(CAllocationFailure::liveBlocks(), blocksAtFirst) << "blocks are leaked";
    for (const auto& name : fileNames(folder.path())) EXPECT_EQ(name, "cache.db");
  }

  /// The cache; null, after a clear error, where there was no memory for it.
  [[nodiscard]] std::shared_ptr<SQLiteCache> openOrNone() const {
    const auto opened = tryToOpen();
    if (opened) return opened.value();
    EXPECT_NE(opened.error().as<SQLiteCacheError>(), nullptr) << opened.error().localizedDescription();
    return nullptr;
  }

  /// Opens the cache and uses it in every way; every second time it is closed without memory as well.
  bool useWith(std::size_t number, Extent extent, bool isFilled) {
    beginWith(isFilled);
    std::optional<CAllocationFailure> failure(std::in_place, number, extent);
    auto cache = openAndUse(*failure);
    if (number % 2 == 0) cache.reset();
    const bool happened = failure->happened();
    failure.reset();
    expectUsable(std::move(cache));
    return happened;
  }

  [[nodiscard]] std::shared_ptr<SQLiteCache> openAndUse(const CAllocationFailure& failure) {
    auto cache = openOrNone();
    if (cache) ledger.use(*cache);
    EXPECT_TRUE((cache && ledger.refusals() == 0) || failure.happened());
    return cache;
  }

  TemporaryFolder folder;
  const std::string path = folder.file("cache.db");
  ManualClock clock;
  CacheLedger ledger;
  const std::size_t blocksAtFirst = blocksOnceUsed();
};

TEST_F(CacheCAllocationTest, NoneThatFailsSpoilsAFreshCache) {
  failEachCAllocationOf(
      "a fresh cache", [this](auto number, auto extent) { return useWith(number, extent, false); }, 29);
}

TEST_F(CacheCAllocationTest, NoneThatFailsLosesOrMixesAnythingInACacheThatIsThere) {
  failEachCAllocationOf(
      "a filled cache", [this](auto number, auto extent) { return useWith(number, extent, true); }, 29);
}

TEST_F(CacheCAllocationTest, NoneThatFailsWhileADamagedFileIsReplacedSpoilsTheFreshOne) {
  const auto replace = [this](std::size_t number, Extent extent) {
    damage("SQLite");
    ledger = {};  // nothing of it can be read any more
    std::optional<CAllocationFailure> failure(std::in_place, number, extent);
    auto cache = openAndUse(*failure);
    const bool happened = failure->happened();
    failure.reset();
    if (!cache) cache = open();
    expectSetAside();
    expectUsable(std::move(cache));
    return happened;
  };
  failEachCAllocationOf("a damaged file at its opening", replace, 29);
}

TEST_F(CacheCAllocationTest, NoneThatFailsWhileDamageIsMetLaterGivesAWrongAnswer) {
  const auto meet = [this](std::size_t number, Extent extent) {
    damage("old kept");
    auto cache = open();
    std::optional<CAllocationFailure> failure(std::in_place, number, extent);
    ledger.expectNothingWrong(*cache);
    const bool happened = failure->happened();
    EXPECT_TRUE(std::filesystem::exists(path + ".damaged-1") || happened);
    failure.reset();
    ledger.expectNothingWrong(*cache);  // now it is met at the latest
    cache.reset();
    EXPECT_EQ(CAllocationFailure::liveBlocks(), blocksAtFirst) << "blocks are leaked";
    expectSetAside();
    ledger = {};
    return happened;
  };
  failEachCAllocationOf("damage that is met later", meet, 29);
}

TEST_F(CacheCAllocationTest, AnotherOwnerIsRefusedWhateverFails) {
  beginWith(true);
  const auto refuse = [this](std::size_t number, Extent extent) {
    std::optional<CAllocationFailure> failure(std::in_place, number, extent);
    const auto opened = tryToOpen("bob");
    const bool happened = failure->happened();
    failure.reset();
    EXPECT_FALSE(opened);
    const auto* const error = opened ? nullptr : opened.error().as<SQLiteCacheError>();
    EXPECT_NE(error, nullptr);
    EXPECT_TRUE((error && error->reason == SQLiteCacheError::Reason::otherOwner) || happened);
    EXPECT_EQ(CAllocationFailure::liveBlocks(), blocksAtFirst) << "blocks are leaked";
    return happened;
  };
  failEachCAllocationOf("a refused owner", refuse, 3);
  expectUsable(nullptr);
}

TEST_F(CacheCAllocationTest, TheNameOfAnOwnersFileIsTheRightOneOrAnError) {
  const auto name = [this] { return ownCacheFile(folder.path(), "records.example", "alice"); };
  const std::string right = name().value();
  const auto ask = [&](std::size_t number, Extent extent) {
    std::optional<CAllocationFailure> failure(std::in_place, number, extent);
    const auto given = name();
    const bool happened = failure->happened();
    failure.reset();
    EXPECT_TRUE(given || happened);
    EXPECT_TRUE(given ? given.value() == right : given.error().as<SQLiteCacheError>() != nullptr);
    EXPECT_EQ(name().value(), right);
    EXPECT_EQ(CAllocationFailure::liveBlocks(), blocksAtFirst) << "blocks are leaked";
    return happened;
  };
  failEachCAllocationOf("the name of an owner's file", ask, 1);
}

TEST_F(CacheCAllocationTest, NoneThatFailsWhileRowsThatAreTooOldGoLosesANewOne) {
  using CorvaneSDK::Table;
  const CorvaneSDK::Meta meta{{"name", "new"}};
  const auto rows = [&meta](SQLiteCache& cache) {
    const auto table = cache.createTable(Table::emptyWithKey("Rows", Table::MaxAge::sevenDays));
    return table->load(CorvaneSDK::Query::exact(CorvaneSDK::metaEquals(meta)));
  };
  const auto trim = [&](std::size_t number, Extent extent) {
    beginWith(true);
    clock.advance(eightDays);
    const auto cache = open();
    const auto table = cache->createTable(Table::emptyWithKey("Rows", Table::MaxAge::sevenDays));
    std::optional<CAllocationFailure> failure(std::in_place, number, extent);
    const bool isTold = table->upsert({Data("1"), meta, std::nullopt});
    const bool happened = failure->happened();
    failure.reset();
    EXPECT_TRUE(happened || isTold);
    EXPECT_EQ(rows(*cache).size(), isTold ? 1U : 0U);
    EXPECT_TRUE(table->upsert({Data("2"), meta, std::nullopt}));
    EXPECT_EQ(rows(*cache), std::vector<Data>{Data("2")});
    EXPECT_EQ(table->fetch(CorvaneSDK::Query::oldest({0, 10})).size(), 1U);
    return happened;
  };
  failEachCAllocationOf("a trim", trim, 3);
}

TEST_F(CacheCAllocationTest, AnExportIsWholeOrFails) {
  beginWith(true);
  const auto whole = CacheArchive::of(SQLiteCacheContents::read(path, clock.function()()).value());
  const auto read = [&](std::size_t number, Extent extent) {
    const CAllocationFailure failure(number, extent);
    const auto contents = SQLiteCacheContents::read(path, clock.function()());
    EXPECT_TRUE(contents || failure.happened());
    if (contents) {
      EXPECT_EQ(contents.value().findings, std::vector<std::string>());
      EXPECT_EQ(CacheArchive::of(contents.value()), whole);
    }
    return failure.happened();
  };
  failEachCAllocationOf("an export", read, 5);
  expectUsable(nullptr);
}

TEST_F(CacheCAllocationTest, ARestoreThatIsToldIsThere) {
  beginWith(true);
  const auto archive = CacheArchive::of(SQLiteCacheContents::read(path, clock.function()()).value());
  const auto restore = [&](std::size_t number, Extent extent) {
    beginWith(false);
    const auto cache = open();
    std::optional<CAllocationFailure> failure(std::in_place, number, extent);
    const bool isTold = archive.restore(*cache);
    const bool happened = failure->happened();
    failure.reset();
    EXPECT_TRUE(happened || isTold);
    EXPECT_TRUE(isTold || archive.restore(*cache));
    EXPECT_EQ(CacheArchive::of(SQLiteCacheContents::read(path, clock.function()()).value()), archive);
    return happened;
  };
  failEachCAllocationOf("a restore", restore, 13);
}

TEST_F(CacheCAllocationTest, ADestroyedCacheIsGoneOrThere) {
  const auto destroy = [&](std::size_t number, Extent extent) {
    beginWith(true);
    std::optional<CAllocationFailure> failure(std::in_place, number, extent);
    const auto refused = SQLiteCache::destroy(path);
    const bool happened = failure->happened();
    failure.reset();
    EXPECT_TRUE(!refused || happened);
    if (refused) {
      EXPECT_NE(refused->as<SQLiteCacheError>(), nullptr);
      expectUsable(nullptr);
    }
    EXPECT_FALSE(SQLiteCache::destroy(path));
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
    return happened;
  };
  failEachCAllocationOf("a deletion", destroy, 3);
}

}  // namespace
}  // namespace vellora::hostkit::tests
