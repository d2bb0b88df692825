#include "tests/support/SlowBuild.h"
#include "tests/vellora/Services/ServiceFixture.h"
#include "vellora/Host/CacheTable.h"

namespace vellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;
using testkit::StubNetwork;
using tests::TestError;
using State = VelloraService::State;

const std::string idPath = "objectPresentationInfoForIdsOnceLoaded(_:completion:)";
const std::string namePath = "objectPresentationInfoForApiNamesFetchIfNeeded(_:completion:)";

class PresentationLookupTest : public tests::ServiceFixture {
 protected:
  Received idsOnceLoaded(const std::vector<std::string>& ids) {
    Received answer;
    service->objectPresentationInfoForIds(ids, into(answer));
    runAll();
    return answer;
  }

  Received names(const std::vector<std::string>& apiNames) {
    Received answer;
    service->objectPresentationInfoForApiNames(apiNames, into(answer));
    runAll();
    return answer;
  }
};

TEST_F(PresentationLookupTest, GivesARecordsTypeItsLabelsAndItsLooks) {
  constructAndLoad();
  const Received answer = idsOnceLoaded({"001000000000001"});
  EXPECT_EQ(answer.calls, 1);
  ASSERT_THAT(keysOf(answer.infos), ElementsAre("001000000000001"));
  const auto& info = answer.infos.at("001000000000001");
  EXPECT_EQ(json::encode(info).value().view(),
            R"({"typePresentationInfo":{"apiName":"Account","color":"FF0000","label":"Account",)"
            R"("labelPlural":"Accounts","createable":true}})");
}

TEST_F(PresentationLookupTest, GivesAListViewsTypeAndTheTypeThatItLists) {
  constructAndLoad();
  const Received answer = idsOnceLoaded({"00Bxx"});
  const auto& info = answer.infos.at("00Bxx");
  EXPECT_EQ(info.typePresentationInfo.apiName(), "ListView");
  ASSERT_TRUE(info.instancePresentationInfo);
  EXPECT_EQ(info.instancePresentationInfo->apiName(), "Contact");
  EXPECT_EQ(info.instancePresentationInfo->smallIconUrl, "c.png");
}

TEST_F(PresentationLookupTest, AnInstanceWithoutAThemeEntryOrUnknownIsLeftOut) {
  constructAndLoad();
  network->answerPrefix("/services/data/v50.0/query?",
                        StubNetwork::body(R"({"records":[{"Id":"00Byy","SobjectType":"ListView"}]})"));
  EXPECT_EQ(idsOnceLoaded({"00Byy"}).infos.at("00Byy").instancePresentationInfo, std::nullopt)
      << "no theme entry";
  network->answerPrefix("/services/data/v50.0/query?",
                        StubNetwork::body(R"({"records":[{"Id":"00Bzz","SobjectType":"Unheard"}]})"));
  EXPECT_EQ(idsOnceLoaded({"00Bzz"}).infos.at("00Bzz").instancePresentationInfo, std::nullopt)
      << "no such type";
}

TEST_F(PresentationLookupTest, UnknownIdsHaveNoEntryAndRepeatedOnesHaveOne) {
  constructAndLoad();
  EXPECT_THAT(keysOf(idsOnceLoaded({"001a", "zzz", "001a", "", "0", "003b"}).infos),
              ElementsAre("001a", "003b"));
}

TEST_F(PresentationLookupTest, NoIdsAreAnsweredWithAnEmptyDictionary) {
  constructAndLoad();
  const Received answer = idsOnceLoaded({});
  EXPECT_EQ(answer.calls, 1);
  EXPECT_THAT(answer.infos, IsEmpty());
}

TEST_F(PresentationLookupTest, TheIdPathLogsItsSteps) {
  constructAndLoad();
  logger->clear();
  idsOnceLoaded({"001a"});
  const std::string account =
      R"(Optional(SObject(name: "Account", keyPrefix: Optional("001"), label: "Account", labelPlural: "Accounts", )"
      R"(createable: true)))";
  EXPECT_THAT(infosOf(idPath),
              ElementsAre(idPath + " ids.count: 1",
                          idPath + " typeSObject: " + account + ", instanceSObject: nil", idPath));
  EXPECT_THAT(
      infosOf("createObjectPresentationInfo"),
      ElementsAre("createObjectPresentationInfo(for:sObjectInstance:themes:) typeTheme: "
                  R"(Optional(ThemeItem(name: "Account", colors: Optional([ColorInfo(color: "FF0000", )"
                  R"(context: "primary", theme: "light")]), icons: [])), instanceTheme: nil)"));
}

TEST_F(PresentationLookupTest, TheIdPathStaysSilentWhenARequestFails) {
  constructAndLoad();
  network->answerPrefix("/services/data/v50.0/query?", StubNetwork::failure(TestError{"line down"}));
  logger->clear();
  const Received answer = idsOnceLoaded({"00Bxx", "001a"});
  EXPECT_EQ(answer.calls, 0);
  EXPECT_THAT(infosOf(idPath), ElementsAre(idPath + " ids.count: 2", idPath))
      << "only the bare name is logged";
}

TEST_F(PresentationLookupTest, TheIdPathAsksForTheThemesOfTypesAndInstancesOnceEach) {
  constructAndLoad();
  logger->clear();
  idsOnceLoaded({"00Bxx", "003a", "003b"});
  EXPECT_THAT(infosOf("themes(for:): name: "),
              ElementsAre("themes(for:): name: Contact", "themes(for:): name: ListView"));
}

TEST_F(PresentationLookupTest, NamesAreAnsweredWithoutWaitingForThePrefetch) {
  network->answer(sObjectsUrl, StubNetwork::body(sObjectsBody()).held());
  construct();
  Received answer;
  service->objectPresentationInfoForApiNames({"Account", "Unheard", "Account"}, into(answer));
  while (queues.runAll() > 0) {
  }
  EXPECT_EQ(queue->pending(), 2U) << "the prefetch has not begun";
  network->releaseAll();
  while (queues.runAll() > 0) {
  }
  EXPECT_EQ(answer.calls, 1);
  EXPECT_THAT(keysOf(answer.infos), ElementsAre("Account"));
  EXPECT_EQ(answer.infos.at("Account").typePresentationInfo.color, "FF0000");
  EXPECT_THAT(infosOf("waitForPrefetch"), IsEmpty());
}

TEST_F(PresentationLookupTest, TheNamePathLogsItsBeginningAndItsEnd) {
  constructAndLoad();
  logger->clear();
  names({"Account", "Contact"});
  EXPECT_THAT(infosOf(namePath), ElementsAre(namePath + " apiNames.count: 2", namePath));
  EXPECT_THAT(infosOf("createObjectPresentationInfo"), SizeIs(2));
}

TEST_F(PresentationLookupTest, TheNamePathAnswersWithNothingWhenThemesFail) {
  network->answer(themesUrl, StubNetwork::failure(TestError{"line down"}));
  constructAndLoad();
  logger->clear();
  const Received answer = names({"Account"});
  EXPECT_EQ(answer.calls, 1);
  EXPECT_THAT(answer.infos, IsEmpty());
  EXPECT_THAT(infosOf(namePath), ElementsAre(namePath + " apiNames.count: 1", namePath));
}

TEST_F(PresentationLookupTest, TheNamePathAnswersWithNothingWhenTheObjectListFails) {
  network->answer(sObjectsUrl, StubNetwork::failure(TestError{"line down"}));
  constructAndLoad();
  const Received answer = names({"Account"});
  EXPECT_EQ(answer.calls, 1);
  EXPECT_THAT(answer.infos, IsEmpty());
}

TEST_F(PresentationLookupTest, TheNamePathAnswersWithNothingForCachedNamesTooWhenARequestFails) {
  constructAndLoad();
  EXPECT_THAT(keysOf(names({"Account"}).infos), ElementsAre("Account"));
  cache->openTable("OPS_SObjectsCacheTable")->purge(CorvaneSDK::metaEquals({{"cacheEntryType", "sObjects"}}));
  network->answer(sObjectsUrl, StubNetwork::failure(TestError{"line down"}));
  EXPECT_THAT(keysOf(names({"Account"}).infos), ElementsAre("Account")) << "from its own row";
  EXPECT_THAT(names({"Account", "Contact"}).infos, IsEmpty());
}

TEST_F(PresentationLookupTest, ATypeThatWasLookedUpKeepsItsLabelWhenANewListBringsAnother) {
  constructAndLoad();
  EXPECT_EQ(names({"Account"}).infos.at("Account").typePresentationInfo.label, "Account");
  network->answer(sObjectsUrl,
                  StubNetwork::body(R"({"sobjects":[{"name":"Account","keyPrefix":"001",)"
                                    R"("label":"Firm","labelPlural":"Firms","createable":true}]})"));
  clock.advance(timeout + 1);
  const Received answer = idsOnceLoaded({"001a"});
  EXPECT_EQ(network->count(sObjectsUrl), 2U) << "the new list has come";
  EXPECT_EQ(answer.infos.at("001a").typePresentationInfo.label, "Account");
}

TEST_F(PresentationLookupTest, IdsAndNamesStandInLogLinesByteForByte) {
  constructAndLoad();
  logger->clear();
  const std::string hostile = "00\xff\n\x1b[1m";
  idsOnceLoaded({hostile});
  names({hostile});
  EXPECT_THAT(infosOf("sObjectsForIds(_:): id: "),
              ElementsAre("sObjectsForIds(_:): id: " + hostile + ", (type: nil, instance: nil)"));
  EXPECT_THAT(infosOf("sObjectForName(_:), name: "), ElementsAre("sObjectForName(_:), name: " + hostile));
}

TEST_F(PresentationLookupTest, ATypeWithoutAThemeEntryHasLabelsOnly) {
  constructAndLoad();
  const Received answer = names({"ListView"});
  EXPECT_EQ(
      json::encode(answer.infos.at("ListView")).value().view(),
      R"({"typePresentationInfo":{"apiName":"ListView","label":"List","labelPlural":"Lists","createable":false}})");
}

TEST_F(PresentationLookupTest, ColoursAndIconsAreThoseOfTheHostsTheme) {
  network->answer(
      themesUrl,
      StubNetwork::body(R"({"themeItems":[{"name":"Account","colors":[)"
                        R"({"color":"FF0000","context":"primary","theme":"light"},)"
                        R"({"color":"990000","context":"primary","theme":"dark"}],"icons":[)"
                        R"({"contentType":"image/png","theme":"light","url":"light.png","width":16},)"
                        R"({"contentType":"image/png","theme":"dark","url":"dark.png","width":16}]}]})"));
  service.emplace(api(), timeout, "dark", queue);
  runAll();
  const Received answer = names({"Account"});
  EXPECT_EQ(answer.infos.at("Account").typePresentationInfo.color, "990000");
  EXPECT_EQ(answer.infos.at("Account").typePresentationInfo.smallIconUrl, "dark.png");
}

TEST_F(PresentationLookupTest, AThemeThatTheServerDoesNotHaveFallsBackWhereThereIsAFallback) {
  service.emplace(api(), timeout, "no such theme", queue);
  runAll();
  const Received answer = names({"Account", "Contact"});
  EXPECT_EQ(answer.infos.at("Account").typePresentationInfo.color, "FF0000");
  EXPECT_EQ(answer.infos.at("Contact").typePresentationInfo.smallIconUrl, "c.png");
  EXPECT_EQ(answer.infos.at("Contact").typePresentationInfo.svgIconUrl, std::nullopt);
}

TEST_F(PresentationLookupTest, TensOfThousandsOfIdsAreAnsweredInOneDictionary) {
  constexpr std::size_t count = tests::codeIsSlow ? 10'000 : 50'000;
  constructAndLoad();
  std::vector<std::string> ids;
  for (std::size_t i = 0; i < count; ++i) ids.push_back("001" + std::to_string(i));
  const Received answer = idsOnceLoaded(ids);
  EXPECT_EQ(answer.calls, 1);
  EXPECT_THAT(answer.infos, SizeIs(count));
}

TEST_F(PresentationLookupTest, AfterTheFacadeIsReleasedAnIdLookupIsNeverAnswered) {
  // Released while it waits for the prefetch, while ids are resolved, and between the two data services.
  for (int step = 0; step < 12; ++step) {
    construct();
    Received answer;
    service->objectPresentationInfoForIds({"001a"}, into(answer));
    for (int done = 0; done < step && answer.calls == 0; ++done) {
      if (queue->pending() > 0) {
        queue->runNext();
      } else {
        queues.runNext();
      }
    }
    if (answer.calls > 0) continue;
    service.reset();
    runAll();
    EXPECT_EQ(answer.calls, 0) << "released after " << step << " steps";
  }
}

TEST_F(PresentationLookupTest, AfterTheFacadeIsReleasedANameLookupThatWaitsForTheNetworkIsNeverAnswered) {
  network->answer(themesUrl, StubNetwork::body(themesBody()).held());
  construct();
  Received answer;
  service->objectPresentationInfoForApiNames({"Account"}, into(answer));
  while (queues.runAll() > 0) {
  }
  service.reset();
  network->releaseAll();
  runAll();
  EXPECT_EQ(answer.calls, 0);
}

TEST_F(PresentationLookupTest, ALookupUnderWayDoesNotKeepTheFacade) {
  const std::string end = "enforceCacheCount()";  // what the data services do when they are destroyed
  constructAndLoad();
  network->answerPrefix("/services/data/v50.0/query?", StubNetwork::never());
  Received answer;
  service->objectPresentationInfoForIds({"00Bxx"}, into(answer));
  runAll();
  service.reset();
  EXPECT_THAT(infosOf(end), Not(IsEmpty()));

  clock.advance(timeout + 1);
  network->answer(themesUrl, StubNetwork::never());
  construct();
  runAll();
  logger->clear();
  service->objectPresentationInfoForIds({"001a"}, into(answer));
  service->objectPresentationInfoForApiNames({"Unheard"}, into(answer));
  runAll();
  service.reset();
  EXPECT_THAT(infosOf(end), Not(IsEmpty()));
}

TEST_F(PresentationLookupTest, TheIdPathAnswersBeforeItLogsItsEndAndTheNamePathAfterwards) {
  constructAndLoad();
  logger->clear();
  std::string lastLine;
  const auto noteLastLine = [&](const Infos&) { lastLine = infos().back(); };
  service->objectPresentationInfoForIds({"001a"}, noteLastLine);
  runAll();
  EXPECT_THAT(lastLine, StartsWith("createObjectPresentationInfo"));
  service->objectPresentationInfoForApiNames({"Account"}, noteLastLine);
  runAll();
  EXPECT_EQ(lastLine, namePath);
}

TEST_F(PresentationLookupTest, ACompletionMayReleaseTheFacade) {
  constructAndLoad();
  int calls = 0;
  service->objectPresentationInfoForIds({"001a"}, [&](const Infos&) {
    ++calls;
    service.reset();
  });
  runAll();
  EXPECT_EQ(calls, 1);
  construct();
  service->objectPresentationInfoForApiNames({"Account"}, [&](const Infos&) {
    ++calls;
    service.reset();
  });
  runAll();
  EXPECT_EQ(calls, 2);
}

TEST_F(PresentationLookupTest, ACompletionMayLookUpAgain) {
  constructAndLoad();
  Received inner;
  service->objectPresentationInfoForIds(
      {"001a"}, [&](const Infos&) { service->objectPresentationInfoForIds({"003a"}, into(inner)); });
  runAll();
  EXPECT_EQ(inner.calls, 1);
}

}  // namespace
}  // namespace vellora
