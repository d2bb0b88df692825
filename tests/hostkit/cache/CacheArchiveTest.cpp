#include "hostkit/cache/CacheArchive.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

#include "hostkit/cache/memory/MemoryCache.h"
#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "testkit/FailingCache.h"
#include "tests/hostkit/cache/ManualClock.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/TemporaryFolder.h"
#include "vellora/DataServices/FetchTime.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Platform/Json/DecodingError.h"

namespace vellora::hostkit::tests {
namespace {

using CorvaneSDK::Query;
using CorvaneSDK::Table;
using Reason = CacheArchiveError::Reason;
using testing::ElementsAre;
using testing::HasSubstr;

const std::string bytes("\0\xFF\"\n", 4);

CacheArchive sample() {
  return {{{"ops.theme.fetch.timestamp", fetchTimeStamp(1'700'000'000.5)}, {"text", Data("\"ä\\\n")}},
          {{"Empty", {}},
           {"Rows",
            {{{{"kind", "one"}, {"name", "Account"}}, std::nullopt, Data("[1]")},
             {{{"kind", "two"}}, "own key", Data(bytes)}}}}};
}

Reason reasonOfRefusal(const std::string& text) {
  const auto archive = CacheArchive::decode(Data(text));
  if (archive) throw std::logic_error("it was read");
  const auto* error = archive.error().as<CacheArchiveError>();
  if (error == nullptr) throw std::logic_error(archive.error().localizedDescription());
  return error->reason;
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  const auto place = text.find(from);
  if (place == std::string::npos) throw std::logic_error(from + " is not in " + text);
  return text.replace(place, from.size(), to);
}

TEST(CacheArchiveTest, EveryByteSurvivesTheText) {
  const auto text = sample().encode();
  ASSERT_TRUE(text);
  const auto read = CacheArchive::decode(text.value());
  ASSERT_TRUE(read) << read.error().localizedDescription();
  EXPECT_EQ(read.value(), sample());
}

TEST(CacheArchiveTest, TheTextIsJsonThatShowsWhatIsText) {
  const auto text = sample().encode().value();
  EXPECT_THAT(std::string(text.view()),
              testing::StartsWith(R"({"format":"vellora-cache","version":1,"checksum":)"));
  EXPECT_THAT(std::string(text.view()), HasSubstr(R"({"key":"text","data":{"text":"\"ä\\\n"}})"));
  EXPECT_THAT(std::string(text.view()),
              HasSubstr(R"({"meta":{"kind":"two"},"dataKey":"own key","data":{"hex":"00ff220a"}})"));
}

TEST(CacheArchiveTest, EachEntryIsALineOfItsOwn) {
  const auto text = sample().encode().value();
  EXPECT_EQ(std::count(text.view().begin(), text.view().end(), '\n'), 6);
}

TEST(CacheArchiveTest, AKeyThatIsNoTextCannotBeWritten) {
  EXPECT_FALSE((CacheArchive{{{"\xFF", Data("1")}}, {}}.encode()));
}

TEST(CacheArchiveTest, RefusesWhatIsNoSoundArchive) {
  const std::string text(sample().encode().value().view());
  const auto notJson = CacheArchive::decode(Data(text.substr(0, text.size() - 1)));
  ASSERT_FALSE(notJson);
  EXPECT_NE(notJson.error().as<DecodingError>(), nullptr);

  EXPECT_EQ(reasonOfRefusal("{}"), Reason::otherFormat);
  EXPECT_EQ(reasonOfRefusal("null"), Reason::otherFormat);
  EXPECT_EQ(reasonOfRefusal(replaced(text, "vellora-cache", "other")), Reason::otherFormat);
  EXPECT_EQ(reasonOfRefusal(replaced(text, "\"version\":1", "\"version\":2")), Reason::newerVersion);
  EXPECT_EQ(reasonOfRefusal(replaced(text, "Account", "Contact")), Reason::damaged);
  EXPECT_EQ(reasonOfRefusal(replaced(text, "own key", "other key")), Reason::damaged);
  EXPECT_EQ(reasonOfRefusal(replaced(text, "\"key\":\"text\"", "\"key\":\"name\"")), Reason::damaged);
  EXPECT_EQ(reasonOfRefusal(replaced(text, "\"key\":\"Empty\"", "\"key\":\"Other\"")), Reason::damaged);
  EXPECT_EQ(reasonOfRefusal(replaced(text, "00ff", "00fg")), Reason::damaged);
  EXPECT_EQ(reasonOfRefusal(replaced(text, "00ff", "00f")), Reason::damaged);
  EXPECT_EQ(reasonOfRefusal(replaced(text, "\"hex\"", "\"hecks\"")), Reason::damaged);
  EXPECT_EQ(reasonOfRefusal(replaced(text, "sevenDays", "eightDays")), Reason::damaged);
  EXPECT_EQ(reasonOfRefusal(replaced(text, "\"blobs\"", "\"blogs\"")), Reason::damaged);
}

TEST(CacheArchiveTest, ErrorsSayWhatToDo) {
  EXPECT_THAT(CacheArchiveError{Reason::otherFormat}.localizedDescription(), HasSubstr("Choose a file"));
  EXPECT_THAT(CacheArchiveError{Reason::newerVersion}.localizedDescription(),
              HasSubstr("Update this program"));
  EXPECT_THAT(CacheArchiveError{Reason::damaged}.localizedDescription(), HasSubstr("Write it again"));
}

TEST(CacheArchiveTest, RestoresIntoAnyCacheInTheOrderOfTheRows) {
  MemoryCache cache;
  EXPECT_EQ(sample().foundIn(cache), std::nullopt);
  EXPECT_TRUE(sample().restore(cache));
  EXPECT_EQ(cache.load("text"), Data("\"ä\\\n"));
  EXPECT_NE(cache.openTable("Empty"), nullptr);
  EXPECT_THAT(cache.openTable("Rows")->load(Query::oldest({})), ElementsAre(Data("[1]"), Data(bytes)));
  EXPECT_EQ(cache.openTable("Rows")->fetch(Query::oldest({}))[1].dataKey, "own key");
}

TEST(CacheArchiveTest, TellsWhatItWouldReplace) {
  MemoryCache cache;
  cache.save(Data("1"), "text");
  EXPECT_EQ(sample().foundIn(cache), "text");
  const auto table = cache.createTable(Table::emptyWithKey("Rows", Table::MaxAge::sevenDays));
  EXPECT_EQ(sample().foundIn(cache), "text") << "a table without rows is not in the way";
  table->upsert({Data("1"), {}, std::nullopt});
  EXPECT_EQ(sample().foundIn(cache), "Rows");
}

TEST(CacheArchiveTest, ARefusedWriteIsTold) {
  using Operation = testkit::FailingCache::Operation;
  for (const auto operation : {Operation::save, Operation::tableUpsert, Operation::createTable}) {
    testkit::FailingCache cache(std::make_shared<MemoryCache>());
    cache.fail(operation);
    EXPECT_FALSE(sample().restore(cache));
  }
}

TEST(CacheArchiveTest, CanCountAsFetchedAtAnotherTime) {
  const auto later = Date::since1970(1'800'000'000);
  const auto fresh = sample().fetchedAt(later);
  EXPECT_EQ(fresh.blobs[0].data, fetchTimeStamp(1'800'000'000));
  EXPECT_EQ(fresh.blobs[1], sample().blobs[1]);
  EXPECT_EQ(fresh.tables, sample().tables);
}

TEST(CacheArchiveTest, HoldsWhatTheCacheWouldReturn) {
  const vellora::tests::TemporaryFolder folder;
  const std::string path = folder.file("cache.db");
  const ManualClock clock;
  {
    SQLiteCache::Options options;
    options.clock = clock.function();
    const auto cache = SQLiteCache::open(path, options).value();
    EXPECT_TRUE(sample().restore(*cache));
    cache->save(Data("2"), "damaged");
    cache->openTable("Rows")->upsert({Data("3"), {{"kind", "damaged"}}, std::nullopt});
  }
  RawDatabase(path).run("UPDATE vellora_blob SET checksum = 0 WHERE name = CAST('damaged' AS BLOB)");
  RawDatabase(path).run("UPDATE vellora_row SET checksum = 0 WHERE data = CAST('3' AS BLOB)");
  const auto contents = SQLiteCacheContents::read(path, clock.function()());
  ASSERT_TRUE(contents);
  EXPECT_EQ(CacheArchive::of(contents.value()), sample());

  const auto aWeekLater = SQLiteCacheContents::read(
      path, Date::sinceReferenceDate(clock.function()().secondsSinceReferenceDate() + 8 * 24 * 3600.0));
  ASSERT_TRUE(aWeekLater);
  EXPECT_THAT(CacheArchive::of(aWeekLater.value()).tables[1].rows, testing::IsEmpty());
}

}  // namespace
}  // namespace vellora::hostkit::tests
