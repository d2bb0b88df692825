#include "vellora/DataServices/SObjectsCache.h"

#include "tests/support/TestClock.h"
#include "tests/vellora/DataServices/SObjectsFixture.h"

namespace vellora {
namespace {

using CorvaneSDK::CacheTable;
using CorvaneSDK::Meta;
using CorvaneSDK::metaEquals;
using CorvaneSDK::Query;
using testing::ElementsAre;
using testing::IsEmpty;

using Names = std::map<std::string, std::string>;

class SObjectsCacheTest : public testing::Test {
 protected:
  std::shared_ptr<CacheTable> table() { return CacheTable::open(*host.cache, "OPS_SObjectsCacheTable"); }

  std::vector<std::string> texts(const Meta& meta) {
    std::vector<std::string> all;
    for (const auto& data : table()->load(Query::exact(metaEquals(meta)))) all.emplace_back(data.view());
    return all;
  }

  std::optional<std::vector<SObject>> cachedList() const {
    const auto list = cache.cachedSObjects();
    return list ? std::optional(list->records()) : std::nullopt;
  }

  std::optional<Names> cachedNames() const {
    const auto names = cache.cachedKeyPrefixes();
    return names ? std::optional(*names) : std::nullopt;
  }

  void damage(const Meta& meta) { table()->upsert({Data(std::string("{")), meta, std::nullopt}); }

  tests::TestClock clock{Date::since1970(1'700'000'000)};
  SObjectsHost host;
  const SObjectsCache cache{host.cache, host.logger, 300};
};

TEST_F(SObjectsCacheTest, SavesTheListItsKeyPrefixesAndTheTime) {
  host.cache->clearCalls();

  cache.save(std::vector{account, status});

  EXPECT_THAT(host.cache->callTexts(),
              ElementsAre("tableUpsert OPS_SObjectsCacheTable cacheEntryType=sObjects",
                          "tableUpsert OPS_SObjectsCacheTable cacheEntryType=keyPrefixes",
                          "save ops.sobject.fetch.timestamp"));
  EXPECT_THAT(host.infos(), ElementsAre("save(_:)", "saveKeyPrefixes(_:)"));
  EXPECT_THAT(
      texts({{"cacheEntryType", "sObjects"}}),
      ElementsAre(
          R"([{"name":"Account","keyPrefix":"001","label":"Account","labelPlural":"Accounts","createable":true},)"
          R"({"name":"Status","label":"Status","labelPlural":"Statuses","createable":false}])"));
  EXPECT_THAT(texts({{"cacheEntryType", "keyPrefixes"}}), ElementsAre(R"({"001":"Account"})"));
  EXPECT_EQ(cache.cacheState(), CacheState::valid);
}

TEST_F(SObjectsCacheTest, SavesTheTimeAsEightRawBytes) {
  cache.save(std::vector<SObject>{});

  EXPECT_EQ(host.cache->load("ops.sobject.fetch.timestamp"),
            Data(std::string("\x00\x00\x00\x40\xFC\x54\xD9\x41", 8)));
}

TEST_F(SObjectsCacheTest, SavesSingleItemsUnderTheirKeys) {
  cache.save(account);
  cache.saveKeyPrefix("001", "Account");
  cache.save(std::optional<std::string>("Contact"), "00B1");

  EXPECT_THAT(
      texts({{"cacheEntryType", "sObject"}, {"name", "Account"}}),
      ElementsAre(
          R"({"name":"Account","keyPrefix":"001","label":"Account","labelPlural":"Accounts","createable":true})"));
  EXPECT_THAT(texts({{"cacheEntryType", "keyPrefix"}, {"keyPrefix", "001"}}), ElementsAre("\"Account\""));
  EXPECT_THAT(texts({{"cacheEntryType", "listView"}, {"id", "00B1"}}), ElementsAre("\"Contact\""));
  EXPECT_THAT(host.infos(), ElementsAre("save(_:), sObject.name: Account",
                                        "saveKeyPrefix(_:for:), saved name: Account for keyPrefix: 001",
                                        "save(_:for:), id: 00B1, listViewType: Contact"));
}

TEST_F(SObjectsCacheTest, GivesASingleItemNoMetaButItsKindAndItsKey) {
  cache.save(account);

  const auto rows = table()->fetch(Query::exact(metaEquals({{"cacheEntryType", "sObject"}})));

  ASSERT_EQ(rows.size(), 1U);
  EXPECT_EQ(rows.front().meta, (Meta{{"cacheEntryType", "sObject"}, {"name", "Account"}}));
}

TEST_F(SObjectsCacheTest, MovesTheTimeWithTheListAlone) {
  cache.save(account);
  cache.saveKeyPrefix("001", "Account");
  cache.save(std::optional<std::string>("Contact"), "00B1");

  EXPECT_EQ(host.cache->load("ops.sobject.fetch.timestamp"), std::nullopt);
  EXPECT_EQ(cache.cacheState(), CacheState::empty);
}

TEST_F(SObjectsCacheTest, ReadsBackWhatItSaved) {
  cache.save(std::vector{account, listView});
  cache.save(contact);
  cache.saveKeyPrefix("003", "Contact");
  cache.save(std::optional<std::string>("Account"), "00B1");
  host.logger->clear();

  EXPECT_EQ(cachedList(), (std::vector{account, listView}));
  EXPECT_EQ(cache.cachedSObject("Contact"), contact);
  EXPECT_EQ(cachedNames(), (Names{{"001", "Account"}, {"00B", "ListView"}}));
  EXPECT_EQ(cache.cachedName("003"), "Contact");
  EXPECT_EQ(cache.cachedListViewType("00B1"), "Account");
  EXPECT_THAT(host.infos(),
              ElementsAre("cachedSObjects()", "cachedSObject(for:), name: Contact, was retrieved from cache",
                          "cachedKeyPrefixes()", "cachedName(for:), keyPrefix: 003, was retrieved from cache",
                          "cachedListViewType(for:), id: 00B1, was retrieved from cache"));
}

TEST_F(SObjectsCacheTest, FindsNothingInAnEmptyCacheAndSaysNothing) {
  EXPECT_EQ(cachedList(), std::nullopt);
  EXPECT_EQ(cache.cachedSObject("Account"), std::nullopt);
  EXPECT_EQ(cache.cachedSObject(std::nullopt), std::nullopt);
  EXPECT_EQ(cachedNames(), std::nullopt);
  EXPECT_EQ(cache.cachedName("001"), std::nullopt);
  EXPECT_EQ(cache.cachedListViewType("00B1"), std::nullopt);
  EXPECT_THAT(host.logger->lines(), IsEmpty());
}

TEST_F(SObjectsCacheTest, FindsSingleItemsByTheirExactKeyOnly) {
  cache.save(account);
  cache.saveKeyPrefix("001", "Account");
  cache.save(std::optional<std::string>("Contact"), "00B1");

  EXPECT_EQ(cache.cachedSObject("account"), std::nullopt);
  EXPECT_EQ(cache.cachedName("00"), std::nullopt);
  EXPECT_EQ(cache.cachedListViewType("00B1AAA"), std::nullopt);
}

TEST_F(SObjectsCacheTest, PassesOverRowsThatLackTheirKey) {
  table()->upsert({Data(std::string("\"Account\"")), {{"cacheEntryType", "keyPrefix"}}, std::nullopt});

  EXPECT_EQ(cache.cachedName(""), std::nullopt);
}

TEST_F(SObjectsCacheTest, TakesAnAbsentNameForNobodysAlsoWhenATypeHasAnEmptyOne) {
  cache.save(SObject{"", std::nullopt, "", "", false});

  EXPECT_EQ(cache.cachedSObject(std::nullopt), std::nullopt);
  EXPECT_TRUE(cache.cachedSObject(""));
}

TEST_F(SObjectsCacheTest, GivesThePrefixThatTwoTypesShareToTheLater) {
  cache.save(std::vector{account, SObject{"Person", "001", "Person", "People", true}});

  EXPECT_EQ(cachedNames(), (Names{{"001", "Person"}}));
}

TEST_F(SObjectsCacheTest, SavesAnEmptyTableOfKeyPrefixesWhenNoTypeHasOne) {
  cache.save(std::vector{status});

  EXPECT_THAT(texts({{"cacheEntryType", "keyPrefixes"}}), ElementsAre("{}"));
}

TEST_F(SObjectsCacheTest, ReadsTheNewestList) {
  cache.save(std::vector{account});
  cache.save(std::vector{contact});

  EXPECT_EQ(cachedList(), std::vector{contact});
}

TEST_F(SObjectsCacheTest, DecodesTheListOnceWhileItsRowHoldsTheSameBytes) {
  cache.save(std::vector{account, listView});
  const auto list = cache.cachedSObjects();
  const auto names = cache.cachedKeyPrefixes();
  host.logger->clear();
  host.cache->clearCalls();

  cache.save(std::vector{account, listView});
  EXPECT_EQ(cache.cachedSObjects(), list);
  EXPECT_EQ(cache.cachedKeyPrefixes(), names);
  cache.save(std::vector{contact});
  EXPECT_EQ(cachedList(), std::vector{contact});
  EXPECT_EQ(cachedNames(), (Names{{"003", "Contact"}}));

  EXPECT_THAT(host.infos(),
              ElementsAre("save(_:)", "saveKeyPrefixes(_:)", "cachedSObjects()", "cachedKeyPrefixes()",
                          "save(_:)", "saveKeyPrefixes(_:)", "cachedSObjects()", "cachedKeyPrefixes()"));
}

TEST_F(SObjectsCacheTest, LetsGoOfTheListAndOfTheKeyPrefixesWhenMemoryIsReleasedOrAllIsForgotten) {
  for (const bool isToForget : {false, true}) {
    cache.save(std::vector{account});
    const std::weak_ptr list = cache.cachedSObjects();
    const std::weak_ptr names = cache.cachedKeyPrefixes();
    ASSERT_FALSE(list.expired() || names.expired());

    isToForget ? cache.forget() : cache.releaseMemory();

    EXPECT_TRUE(list.expired()) << isToForget;
    EXPECT_TRUE(names.expired()) << isToForget;
    EXPECT_EQ(cachedList().has_value(), !isToForget);
  }
}

TEST_F(SObjectsCacheTest, GivesNoRememberedListForARowThatCannotBeDecoded) {
  cache.save(std::vector{account});
  EXPECT_EQ(cachedList(), std::vector{account});
  damage({{"cacheEntryType", "sObjects"}});

  EXPECT_EQ(cachedList(), std::nullopt);
  EXPECT_EQ(cachedList(), std::nullopt);
  EXPECT_EQ(host.errors().size(), 2U);
}

TEST_F(SObjectsCacheTest, WritesAListViewWithoutTypeThatItCannotReadBack) {
  cache.save(std::optional<std::string>(), "00B1");

  EXPECT_THAT(texts({{"cacheEntryType", "listView"}, {"id", "00B1"}}), ElementsAre("null"));
  EXPECT_EQ(cache.cachedListViewType("00B1"), std::nullopt);
  EXPECT_THAT(host.infos(), ElementsAre("save(_:for:), id: 00B1, listViewType: nil",
                                        "cachedListViewType(for:), id: 00B1, was retrieved from cache"));
  EXPECT_THAT(host.errors(),
              ElementsAre("cachedListViewType(for:): Failed to decode: expected a string at $"));
}

TEST_F(SObjectsCacheTest, TellsWhichReadFailedToDecode) {
  damage({{"cacheEntryType", "sObjects"}});
  damage({{"cacheEntryType", "sObject"}, {"name", "Account"}});
  damage({{"cacheEntryType", "keyPrefixes"}});
  damage({{"cacheEntryType", "keyPrefix"}, {"keyPrefix", "001"}});
  damage({{"cacheEntryType", "listView"}, {"id", "00B1"}});

  EXPECT_EQ(cachedList(), std::nullopt);
  EXPECT_EQ(cache.cachedSObject("Account"), std::nullopt);
  EXPECT_EQ(cachedNames(), std::nullopt);
  EXPECT_EQ(cache.cachedName("001"), std::nullopt);
  EXPECT_EQ(cache.cachedListViewType("00B1"), std::nullopt);
  EXPECT_THAT(host.errors(),
              ElementsAre(testing::StartsWith("cachedSObjects(): Failed to decode: not valid JSON"),
                          testing::StartsWith("cachedSObject(for:): Failed to decode: not valid JSON"),
                          testing::StartsWith("cachedKeyPrefixes(): Failed to decode: not valid JSON"),
                          testing::StartsWith("cachedName(for:): Failed to decode: not valid JSON"),
                          testing::StartsWith("cachedListViewType(for:): Failed to decode: not valid JSON")));
}

TEST_F(SObjectsCacheTest, TellsWhichWriteFailedToEncode) {
  const std::string noText = "\xFF";
  host.cache->clearCalls();

  cache.save(std::vector{SObject{noText, std::nullopt, "", "", false}});
  cache.save(SObject{noText, std::nullopt, "", "", false});
  cache.saveKeyPrefix("001", noText);
  cache.save(std::optional(noText), "00B1");

  EXPECT_THAT(host.cache->calls(), IsEmpty());
  EXPECT_THAT(host.infos(), IsEmpty());
  EXPECT_THAT(host.errors(), ElementsAre(testing::StartsWith("save(_:): Failed to encode: "),
                                         testing::StartsWith("save(_:): Failed to encode: "),
                                         testing::StartsWith("saveKeyPrefix(_:for:): Failed to encode: "),
                                         testing::StartsWith("save(_:for:): Failed to encode: ")));
}

TEST_F(SObjectsCacheTest, BoundsTheThreeKindsOfSingleItemsInTheirOrder) {
  cache.save(std::vector{account});
  for (int index = 0; index < 101; ++index) {
    cache.save(std::optional<std::string>("Account"), "00B" + std::to_string(index));
  }
  host.logger->clear();

  cache.enforceCacheCount();

  EXPECT_THAT(
      host.infos(),
      ElementsAre("enforceCacheCount(), cacheEntryType: keyPrefix, rows.count: 0, maxCount: 100",
                  "enforceCacheCount(), cacheEntryType: sObject, rows.count: 0, maxCount: 100",
                  "enforceCacheCount(), cacheEntryType: listView, rows.count: 101, maxCount: 100",
                  R"(enforceCacheCount(), purging row: ["cacheEntryType": "listView", "id": "00B0"])"));
  EXPECT_EQ(cachedList(), std::vector{account});
}

}  // namespace
}  // namespace vellora
