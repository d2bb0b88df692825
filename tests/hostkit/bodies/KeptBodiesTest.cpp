#include "hostkit/bodies/KeptBodies.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <future>
#include <latch>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/FailingCache.h"
#include "testkit/ForwardingCache.h"
#include "testkit/ForwardingCacheTable.h"
#include "tests/hostkit/bodies/BodiesCache.h"
#include "vellora/Host/Query.h"

namespace vellora::hostkit {
namespace {

using CorvaneSDK::Query;
using testing::HasSubstr;
using testing::Not;

constexpr const char* url = "https://records.example:443/theme";
const std::vector<std::string> withToken{"Accept-Encoding: gzip", "Authorization: Bearer secret-one"};
const std::vector<std::string> withAnother{"Accept-Encoding: gzip", "Authorization: Bearer secret-two"};

KeptBody body(const std::string& text) {
  return {{{"etag", "\"1\""}}, Data(text)};
}

/// Counts the rows that are given out by `fetch`.
class CountingTable final : public testkit::ForwardingCacheTable {
 public:
  CountingTable(std::shared_ptr<CorvaneSDK::CacheTable> next, std::size_t& rows)
      : ForwardingCacheTable(std::move(next)), rows_(rows) {}
  std::vector<CorvaneSDK::Row> fetch(const Query& query) override {
    auto found = next().fetch(query);
    rows_ += found.size();
    return found;
  }

 private:
  std::size_t& rows_;
};

class CountingCache final : public testkit::ForwardingCache {
 public:
  CountingCache(std::shared_ptr<CorvaneSDK::Cache> next, std::size_t& rows)
      : ForwardingCache(std::move(next)), rows_(rows) {}

 protected:
  std::shared_ptr<CorvaneSDK::CacheTable> wrapTable(std::shared_ptr<CorvaneSDK::CacheTable> table,
                                                    const std::string&) override {
    return table ? std::make_shared<CountingTable>(std::move(table), rows_) : nullptr;
  }

 private:
  std::size_t& rows_;
};

/// Has the library forget everything just before a body is written.
class ForgettingTable final : public testkit::ForwardingCacheTable {
 public:
  using ForwardingCacheTable::ForwardingCacheTable;
  bool upsert(const CorvaneSDK::CacheEntry& entry) override {
    if (entry.dataKey && entry.dataKey->starts_with(KeptBodies::bodyKind))
      next().purge(CorvaneSDK::metaEquals({}));
    return next().upsert(entry);
  }
};

class ForgettingCache final : public testkit::ForwardingCache {
 public:
  using ForwardingCache::ForwardingCache;

 protected:
  std::shared_ptr<CorvaneSDK::CacheTable> wrapTable(std::shared_ptr<CorvaneSDK::CacheTable> table,
                                                    const std::string&) override {
    return std::make_shared<ForgettingTable>(std::move(table));
  }
};

/// How many calls of that name a cache has had.
std::ptrdiff_t callsOf(const testkit::FailingCache& cache, std::string_view name) {
  const auto calls = cache.callTexts();
  return std::count_if(calls.begin(), calls.end(), [&](const auto& call) { return call.starts_with(name); });
}

class KeptBodiesTest : public testing::Test {
 protected:
  KeptBodies::Place place(const std::vector<std::string>& lines = withToken) {
    return bodies.placeOf(bodies.digestKey(), url, lines).value();
  }

  /// Keeps a body of a kilobyte for each number, one behind the other.
  static void fill(KeptBodies& into, int count) {
    for (int number = 0; number < count; ++number) {
      ASSERT_TRUE(into.save(numbered(into, number), body(std::string(1024, 'x'))));
    }
  }

  /// A body whose stored form has that very size: its checksum may have more digits or fewer.
  static KeptBody ofStoredSize(std::size_t size, const std::string& request) {
    for (int number = 0;; ++number) {
      std::string text = std::to_string(number);
      text.append(size - storedForm(body(text), request).size(), 'x');
      if (storedForm(body(text), request).size() == size) return body(text);
    }
  }

  static KeptBodies::Place numbered(KeptBodies& into, int number) {
    return into.placeOf(into.digestKey(), url + std::to_string(number), {}).value();
  }

  const BodiesCache host;
  KeptBodies bodies{host.cache, {}};
};

TEST_F(KeptBodiesTest, GivesBackWhatWasKeptAlsoToAnotherThatUsesTheCache) {
  EXPECT_TRUE(bodies.save(place(), body("themes")));
  EXPECT_EQ(bodies.load(place()), body("themes"));
  KeptBodies later(host.cache, {});
  EXPECT_EQ(later.load(later.placeOf(later.digestKey(), url, withToken).value()), body("themes"));
}

TEST_F(KeptBodiesTest, TheLaterBodyTakesTheEarliersPlace) {
  bodies.save(place(), body("old"));
  bodies.save(place(), body("new"));
  EXPECT_EQ(bodies.load(place()), body("new"));
  EXPECT_EQ(host.rowsOf(KeptBodies::bodyKind), 1U);
}

TEST_F(KeptBodiesTest, KeepsNothingBeforeTheLibraryHasUsedTheCache) {
  const auto unused = std::make_shared<MemoryCache>();
  KeptBodies none(unused, {});
  EXPECT_EQ(none.digestKey(), "");
  EXPECT_FALSE(none.placeOf("", url, withToken));
  EXPECT_FALSE(none.placeOf(bodies.digestKey(), url, withToken));
  EXPECT_FALSE(none.save(place(), body("themes")));
  EXPECT_EQ(unused->openTable(std::string(SObjectsCache::tableKey)), nullptr);
}

TEST_F(KeptBodiesTest, ABodyIsThatOfItsTokenItsAddressAndItsHeadersAlone) {
  bodies.save(place(), body("themes"));
  EXPECT_EQ(bodies.load(place(withAnother)), std::nullopt);
  EXPECT_EQ(bodies.load(place({withToken[1]})), std::nullopt);
  const auto elsewhere = bodies.placeOf(bodies.digestKey(), "https://records.example:443/themf", withToken);
  EXPECT_EQ(bodies.load(elsewhere.value()), std::nullopt);
}

TEST_F(KeptBodiesTest, AUsersBodyStaysTheirsWhenTheTokenIsRenewed) {
  KeptBodies ofOne(host.cache, {.user = "records.example one"});
  KeptBodies ofOther(host.cache, {.user = "records.example other"});
  ofOne.save(ofOne.placeOf(ofOne.digestKey(), url, withToken).value(), body("themes"));
  EXPECT_EQ(ofOne.load(ofOne.placeOf(ofOne.digestKey(), url, withAnother).value()), body("themes"));
  EXPECT_EQ(ofOther.load(ofOther.placeOf(ofOther.digestKey(), url, withToken).value()), std::nullopt);
  const std::vector<std::string> otherHeaders{"Accept-Encoding: br", withToken[1]};
  EXPECT_EQ(ofOne.load(ofOne.placeOf(ofOne.digestKey(), url, otherHeaders).value()), std::nullopt);
}

TEST_F(KeptBodiesTest, AUserWithoutANameIsNotNobody) {
  KeptBodies ofNameless(host.cache, {.user = ""});
  const auto key = bodies.digestKey();
  EXPECT_NE(ofNameless.placeOf(key, url, {})->request, bodies.placeOf(key, url, {})->request);
}

TEST_F(KeptBodiesTest, AKeyOfAnotherSizeIsNone) {
  bodies.save(place(), body("themes"));
  host.replaceStoredBody(Data(std::string("short")), KeptBodies::keyKind);
  EXPECT_EQ(bodies.digestKey().size(), 32U);
  EXPECT_EQ(host.rowsOf(KeptBodies::bodyKind), 0U);
}

TEST_F(KeptBodiesTest, ThereIsNoKeyWhereTheCacheKeepsNone) {
  const auto full = std::make_shared<testkit::FailingCache>(host.cache);
  full->fail(testkit::FailingCache::Operation::tableUpsert);
  EXPECT_EQ(KeptBodies(full, {}).digestKey(), "");
}

TEST_F(KeptBodiesTest, SaysThatABodyIsNotKeptWhereTheCacheRefusesIt) {
  const auto at = place();
  const auto full = std::make_shared<testkit::FailingCache>(host.cache);
  full->fail(testkit::FailingCache::Operation::tableUpsert);
  EXPECT_FALSE(KeptBodies(full, {}).save(at, body("themes")));
}

TEST_F(KeptBodiesTest, ItsRowsTellNeitherTheTokenNorTheAddress) {
  bodies.save(place(), body("themes"));
  const auto rows = host.table->fetch(Query::oldest({}));
  ASSERT_EQ(rows.size(), 2U);
  for (const auto& row : rows) {
    std::string all = row.dataKey;
    for (const auto& [name, value] : row.meta) all += name + value;
    EXPECT_THAT(all, Not(HasSubstr("secret")));
    EXPECT_THAT(all, Not(HasSubstr("records.example")));
  }
  for (const auto& data : host.table->load(Query::oldest({}))) {
    EXPECT_THAT(std::string(data.view()), Not(HasSubstr("secret")));
    EXPECT_THAT(std::string(data.view()), Not(HasSubstr("records.example")));
  }
}

TEST_F(KeptBodiesTest, ADamagedBodyIsNotThereAndIsDeleted) {
  bodies.save(place(), body("themes"));
  std::string damaged(storedForm(body("themes"), place().request).view());
  damaged.back() = '?';
  host.replaceStoredBody(Data(damaged), KeptBodies::bodyKind);
  EXPECT_EQ(bodies.load(place()), std::nullopt);
  EXPECT_EQ(host.rowsOf(KeptBodies::bodyKind), 0U);
}

TEST_F(KeptBodiesTest, ADeletedBodyIsNotThere) {
  bodies.save(place(), body("themes"));
  bodies.remove(place());
  EXPECT_EQ(bodies.load(place()), std::nullopt);
}

TEST_F(KeptBodiesTest, KeepsNoMoreThanItMayAndTheOldestGoFirst) {
  constexpr std::size_t room = 16 * 1024;  // ten bodies with what their rows cost
  KeptBodies few(host.cache, {.maxBytes = room});
  fill(few, 12);
  EXPECT_LE(host.rowsOf(KeptBodies::bodyKind), 10U);
  EXPECT_GE(host.rowsOf(KeptBodies::bodyKind), 7U);
  EXPECT_EQ(few.load(numbered(few, 0)), std::nullopt);
  EXPECT_TRUE(few.load(numbered(few, 11)));
}

TEST_F(KeptBodiesTest, ThereIsRoomForFourOfTheLargestBodiesAndAFifthTakesThatOfTwo) {
  KeptBodies few(host.cache, {.maxBytes = 16 * 1024});
  const auto keep = [&](int number) {
    const auto at = numbered(few, number);
    return few.save(at, ofStoredSize(few.mostOfOne(), at.request));
  };
  for (int number = 0; number < 4; ++number) EXPECT_TRUE(keep(number));
  EXPECT_EQ(host.rowsOf(KeptBodies::bodyKind), 4U);
  EXPECT_TRUE(keep(3));
  EXPECT_EQ(host.rowsOf(KeptBodies::bodyKind), 4U) << "kept once more, it takes no other's room";
  EXPECT_TRUE(keep(4));
  EXPECT_EQ(host.rowsOf(KeptBodies::bodyKind), 3U) << "there is room for the next one, too";
}

TEST_F(KeptBodiesTest, DeletesNoMoreWhereTheCacheDeletesNothing) {
  const auto stuck = std::make_shared<testkit::FailingCache>(host.cache);
  KeptBodies few(stuck, {.maxBytes = 16 * 1024});
  fill(few, 10);
  stuck->fail(testkit::FailingCache::Operation::tablePurge);
  stuck->clearCalls();
  fill(few, 12);
  EXPECT_EQ(callsOf(*stuck, "tablePurge"), 2) << "once for each body that is too many";
}

TEST_F(KeptBodiesTest, TheFirstBodiesAreNotReadAgainToBeCounted) {
  std::size_t fetched = 0;
  KeptBodies counted(std::make_shared<CountingCache>(host.cache, fetched), {});
  fill(counted, 3);
  EXPECT_EQ(fetched, 0U);
}

TEST_F(KeptBodiesTest, WhatOthersHaveKeptCountsAsWell) {
  constexpr std::size_t room = 16 * 1024;
  KeptBodies earlier(host.cache, {.maxBytes = room});
  fill(earlier, 9);
  KeptBodies later(host.cache, {.maxBytes = room});
  fill(later, 9);
  for (int number = 20; number < 24; ++number)
    later.save(numbered(later, number), body(std::string(1024, 'x')));
  EXPECT_LE(host.rowsOf(KeptBodies::bodyKind), 10U);
}

TEST_F(KeptBodiesTest, ABodyThatIsTooLargeIsNotKeptAndTheEarlierOneGoes) {
  KeptBodies few(host.cache, {.maxBytes = 16 * 1024});
  const auto at = numbered(few, 1);
  ASSERT_TRUE(few.save(at, body("small")));
  EXPECT_FALSE(few.save(at, body(std::string(4 * 1024, 'x'))));
  EXPECT_EQ(few.load(at), std::nullopt);
}

TEST_F(KeptBodiesTest, NothingIsLeftWhenTheLibraryForgets) {
  bodies.save(place(), body("themes"));
  host.forget();
  EXPECT_EQ(host.rowsOf(KeptBodies::bodyKind), 0U);
  EXPECT_EQ(bodies.load(place()), std::nullopt);
}

TEST_F(KeptBodiesTest, WhatWasUnderWayWhenTheLibraryForgotIsNotKept) {
  const auto before = place();
  host.forget();
  EXPECT_FALSE(bodies.save(before, body("themes")));
  static_cast<void>(place());  // a later request has a key of its own
  EXPECT_FALSE(bodies.save(before, body("themes")));
  EXPECT_EQ(host.rowsOf(KeptBodies::bodyKind), 0U);
}

TEST_F(KeptBodiesTest, WhatTheLibraryHasForgottenIsNotEvenWrittenForAMoment) {
  const auto before = place();
  host.forget();
  static_cast<void>(place());
  const auto recording = std::make_shared<testkit::FailingCache>(host.cache);
  EXPECT_FALSE(KeptBodies(recording, {}).save(before, body("themes")));
  EXPECT_EQ(callsOf(*recording, "tableUpsert"), 0);
}

TEST_F(KeptBodiesTest, ABodyThatIsWrittenWhileTheLibraryForgetsIsDeleted) {
  KeptBodies meanwhile(std::make_shared<ForgettingCache>(host.cache), {});
  EXPECT_FALSE(meanwhile.save(place(), body("themes")));
  EXPECT_EQ(host.rowsOf(KeptBodies::bodyKind), 0U);
}

TEST_F(KeptBodiesTest, WhatWasAskedForBeforeTheLibraryForgotHasNoPlaceBehindIt) {
  static_cast<void>(place());
  const std::string asked = bodies.digestKey();
  EXPECT_EQ(asked.size(), 32U);
  host.forget();
  EXPECT_FALSE(bodies.placeOf(asked, url, withToken));
  static_cast<void>(place());
  EXPECT_FALSE(bodies.placeOf(asked, url, withToken));
}

TEST_F(KeptBodiesTest, WhatWasAskedForFirstHasAKeyThatAForgetEnds) {
  const std::string asked = bodies.digestKey();
  EXPECT_EQ(asked.size(), 32U);
  EXPECT_EQ(bodies.digestKey(), asked);
  host.forget();
  EXPECT_FALSE(bodies.placeOf(asked, url, withToken));
}

TEST_F(KeptBodiesTest, WhatWasAskedForWithoutAKeyHasNoPlace) {
  EXPECT_FALSE(bodies.placeOf("", url, withToken));
  static_cast<void>(place());
  EXPECT_FALSE(bodies.placeOf("", url, withToken));
}

TEST_F(KeptBodiesTest, ThreadsThatBeginTogetherHaveOneKey) {
  std::vector<std::future<std::string>> keys;
  std::latch begun(8);
  for (int thread = 0; thread < 8; ++thread) {
    keys.push_back(std::async(std::launch::async, [&] {
      begun.arrive_and_wait();
      return bodies.digestKey();
    }));
  }
  std::set<std::string> different;
  for (auto& key : keys) different.insert(key.get());
  EXPECT_EQ(different, std::set<std::string>{bodies.digestKey()});
}

TEST_F(KeptBodiesTest, HeadersCountInWhatIsKept) {
  constexpr std::size_t room = 64 * 1024;
  KeptBodies few(host.cache, {.maxBytes = room});
  const KeptBody wordy{{{"etag", "\"1\""}, {"content-type", std::string(1000, 'x')}}, Data(std::string("b"))};
  for (int number = 0; number < 100; ++number) ASSERT_TRUE(few.save(numbered(few, number), wordy));
  std::size_t stored = 0;
  for (const auto& data : host.table->load(Query::exact(BodiesCache::ofKind(KeptBodies::bodyKind)))) {
    stored += data.size();
  }
  EXPECT_GT(stored, room / 4);
  EXPECT_LE(stored, room);
}

TEST_F(KeptBodiesTest, ABodyWithTooLargeHeadersIsNotKept) {
  KeptBodies few(host.cache, {.maxBytes = 16 * 1024});
  const KeptBody large{{{"etag", "\"1\""}, {"content-type", std::string(8 * 1024, 'x')}}, Data()};
  EXPECT_FALSE(few.save(numbered(few, 1), large));
  EXPECT_EQ(host.rowsOf(KeptBodies::bodyKind), 0U);
}

TEST_F(KeptBodiesTest, SaysHowLargeABodyMayBe) {
  KeptBodies few(host.cache, {.maxBytes = 16 * 1024});
  EXPECT_LT(few.mostOfOne(), 4U * 1024);
  EXPECT_TRUE(few.save(numbered(few, 1), body(std::string(few.mostOfOne() - 100, 'x'))));
  EXPECT_FALSE(few.save(numbered(few, 1), body(std::string(few.mostOfOne(), 'x'))));
  EXPECT_EQ(KeptBodies(host.cache, {.maxBytes = 100}).mostOfOne(), 0U);
}

TEST_F(KeptBodiesTest, BodiesWhoseKeyIsLostAreDeletedWhenThereIsAnother) {
  bodies.save(place(), body("themes"));
  host.table->purge(BodiesCache::ofKind(KeptBodies::keyKind));
  static_cast<void>(place());
  EXPECT_EQ(host.rowsOf(KeptBodies::bodyKind), 0U);
}

TEST_F(KeptBodiesTest, KnowsItsOwnRows) {
  EXPECT_TRUE(KeptBodies::isOwn({{"cacheEntryType", "keptBody"}, {"request", "x"}}));
  EXPECT_TRUE(KeptBodies::isOwn({{"cacheEntryType", "keptBodyKey"}}));
  EXPECT_FALSE(KeptBodies::isOwn({{"cacheEntryType", "sObjects"}}));
  EXPECT_FALSE(KeptBodies::isOwn({}));
}

}  // namespace
}  // namespace vellora::hostkit
