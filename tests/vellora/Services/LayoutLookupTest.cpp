#include "tests/vellora/Services/ServiceFixture.h"

namespace vellora {
namespace {

using testing::ElementsAre;
using testkit::StubNetwork;
using tests::TestError;

constexpr const char* layoutUrl = "/services/data/v50.0/search/layout?q=Account";
constexpr const char* compactUrl = "/services/data/v53.0/compactLayouts?q=Account";
constexpr const char* nameQuery = "/services/data/v53.0/query?q=";

class LayoutLookupTest : public tests::ServiceFixture {
 protected:
  void SetUp() override { construct(); }  // the queues are not run: these lookups need none
};

TEST_F(LayoutLookupTest, SearchLayoutsAreKeyedByTheServersNames) {
  network->answer(layoutUrl, StubNetwork::body(R"([{"objectType":"ACCOUNT","searchColumns":[]}])"));
  std::optional<std::map<std::string, ObjectLayoutInfo>> layouts;
  service->objectLayoutInfoForApiNames({"Account"}, [&](auto answer) { layouts = std::move(answer); });
  ASSERT_TRUE(layouts);
  EXPECT_EQ(*layouts, (std::map<std::string, ObjectLayoutInfo>{{"ACCOUNT", {"ACCOUNT", {}}}}));
}

TEST_F(LayoutLookupTest, CompactLayoutsAreKeyedByTheServersNames) {
  network->answer(compactUrl, StubNetwork::body(R"({"x":{"objectType":"Account","fieldItems":[]}})"));
  network->answerPrefix(nameQuery, StubNetwork::body(R"({"records":[]})"));
  std::optional<std::map<std::string, ObjectCompactLayoutInfo>> layouts;
  service->objectCompactLayoutInfoForApiNames({"Account"}, [&](auto answer) { layouts = std::move(answer); });
  ASSERT_TRUE(layouts);
  ASSERT_EQ(layouts->size(), 1U);
  EXPECT_EQ(layouts->begin()->first, "Account");
}

TEST_F(LayoutLookupTest, NeitherNeedsNorStartsAPrefetch) {
  network->answer(layoutUrl, StubNetwork::body("[]"));
  network->answer(compactUrl, StubNetwork::nothing());
  service->objectLayoutInfoForApiNames({"Account"}, nullptr);
  service->objectCompactLayoutInfoForApiNames({"Account"}, nullptr);
  EXPECT_THAT(network->urls(), ElementsAre(layoutUrl, compactUrl));
  EXPECT_EQ(infosOf("prefetch()").size(), 1U);
}

TEST_F(LayoutLookupTest, AFailureWithNothingCachedIsAnEmptyDictionary) {
  network->answerPrefix("/services/", StubNetwork::failure(TestError{"line down"}));
  std::optional<std::map<std::string, ObjectLayoutInfo>> layouts;
  service->objectLayoutInfoForApiNames({"Account"}, [&](auto answer) { layouts = std::move(answer); });
  ASSERT_TRUE(layouts);
  EXPECT_TRUE(layouts->empty());
}

TEST_F(LayoutLookupTest, APendingLookupIsAnsweredAndCachedAfterTheFacadeIsReleased) {
  network->answer(layoutUrl, StubNetwork::body(R"([{"objectType":"Account","searchColumns":[]}])").held());
  int calls = 0;
  service->objectLayoutInfoForApiNames({"Account"},
                                       [&](const auto& answer) { calls += answer->size() == 1 ? 1 : 100; });
  service.reset();
  network->releaseAll();
  EXPECT_EQ(calls, 1);
  EXPECT_TRUE(cache->load("OPS_Layout_Account"));
}

TEST_F(LayoutLookupTest, APendingCompactLookupIsAnsweredAndCachedAfterTheFacadeIsReleased) {
  network->answer(compactUrl, StubNetwork::body(R"({"x":{"objectType":"Account","fieldItems":[]}})").held());
  network->answerPrefix(nameQuery, StubNetwork::body(R"({"records":[]})").held());
  int calls = 0;
  service->objectCompactLayoutInfoForApiNames(
      {"Account"}, [&](const auto& answer) { calls += answer->size() == 1 ? 1 : 100; });
  service.reset();
  network->releaseAll();
  network->releaseAll();
  EXPECT_EQ(calls, 1);
  EXPECT_TRUE(cache->load("OPS_CompactLayout_Account"));
}

TEST_F(LayoutLookupTest, BothKindsOfLayoutsExpireAfterTheTimeoutOfTheFacade) {
  network->answer(layoutUrl, StubNetwork::body(R"([{"objectType":"Account","searchColumns":[]}])"));
  network->answer(compactUrl, StubNetwork::body(R"({"x":{"objectType":"Account","fieldItems":[]}})"));
  network->answerPrefix(nameQuery, StubNetwork::body(R"({"records":[]})"));
  const auto lookUpBoth = [this] {
    service->objectLayoutInfoForApiNames({"Account"}, nullptr);
    service->objectCompactLayoutInfoForApiNames({"Account"}, nullptr);
  };
  lookUpBoth();
  clock.advance(timeout);
  lookUpBoth();
  EXPECT_EQ(network->count(layoutUrl), 1U);
  EXPECT_EQ(network->count(compactUrl), 1U);
  EXPECT_TRUE(cache->load("OPS_Layout_Account"));
  clock.advance(1);
  lookUpBoth();
  EXPECT_EQ(network->count(layoutUrl), 1U) << "an expired search layout is served once more";
  EXPECT_FALSE(cache->load("OPS_Layout_Account")) << "and dropped";
  EXPECT_EQ(network->count(compactUrl), 2U);
}

TEST_F(LayoutLookupTest, WithATimeoutOfZeroEachCompactAndEverySecondSearchLayoutIsFetched) {
  service.emplace(api(), 0, "light", queue);
  network->answer(layoutUrl, StubNetwork::body(R"([{"objectType":"Account","searchColumns":[]}])"));
  network->answer(compactUrl, StubNetwork::body(R"({"x":{"objectType":"Account","fieldItems":[]}})"));
  network->answerPrefix(nameQuery, StubNetwork::body(R"({"records":[]})"));
  std::vector<std::size_t> searchRequests;
  for (int lookup = 0; lookup < 4; ++lookup) {
    service->objectLayoutInfoForApiNames({"Account"}, nullptr);
    service->objectCompactLayoutInfoForApiNames({"Account"}, nullptr);
    searchRequests.push_back(network->count(layoutUrl));
    clock.advance(1);
  }
  EXPECT_THAT(searchRequests, ElementsAre(1U, 1U, 2U, 2U));
  EXPECT_EQ(network->count(compactUrl), 4U);
}

TEST_F(LayoutLookupTest, AFailedFetchFindsAnExpiredSearchLayoutGoneAndAnExpiredCompactOneThere) {
  network->answer(layoutUrl, StubNetwork::body(R"([{"objectType":"Account","searchColumns":[]}])"));
  network->answer(compactUrl, StubNetwork::body(R"({"x":{"objectType":"Account","fieldItems":[]}})"));
  network->answerPrefix(nameQuery, StubNetwork::body(R"({"records":[]})"));
  std::vector<std::size_t> sizes;
  const auto lookUpBoth = [&] {
    service->objectLayoutInfoForApiNames({"Account"}, [&](const auto& all) { sizes.push_back(all->size()); });
    service->objectCompactLayoutInfoForApiNames({"Account"},
                                                [&](const auto& all) { sizes.push_back(all->size()); });
  };
  lookUpBoth();
  clock.advance(timeout + 1);
  network->answerPrefix("/services/", StubNetwork::failure(TestError{"line down"}));
  lookUpBoth();
  lookUpBoth();
  EXPECT_THAT(sizes, ElementsAre(1U, 1U, 1U, 1U, 0U, 1U));
}

}  // namespace
}  // namespace vellora
