#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/vellora/DataServices/CompactLayoutFixture.h"
#include "vellora/DataServices/CompactLayoutDataServiceError.h"
#include "vellora/Platform/Json/DecodingError.h"

// What a lookup answers, logs and caches when the server, the cache or a layout is not as it should be.

namespace vellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using testkit::FailingCache;
using testkit::StubNetwork;
using tests::layoutsUrl;
using tests::namesUrl;
using tests::TestError;

const std::string miss = "info: load(key:): No data from cache";
const std::string operation = "getCompactLayoutFromNetwork(_:completion:): ";
const std::string getting =
    "info: " + operation + "Getting qualified API names for reference type fields contained in the ";
const std::string namesErrorLine = "error: " + operation + "Qualified API Name network request failed: ";
const std::string networkErrorLine = "error: " + operation + "Network request error:  ";
const std::string publicErrorLine = "error: compactLayoutForApiName(_:completion:): Network request error:  ";
const std::string networkText = "The operation could not be completed. (SObjectsDataServiceError.network)";
const std::string decodingText = "The operation could not be completed. (SObjectsDataServiceError.decoding)";

class CompactLayoutDataServiceFailureTest : public tests::CompactLayoutFixture {};

TEST_F(CompactLayoutDataServiceFailureTest,
       AnExpiredLayoutIsServedWithTheErrorWhenTheServerFailsAndStaysCached) {
  cacheLayout("Account", timeout + 1);
  cacheLayout("Contact", 10);
  network->answer(layoutsUrl("Account"), StubNetwork::failure(TestError{"line down"}));
  lookUp({"Account", "Contact", "Contact"});
  EXPECT_THAT(answers, ElementsAre("Account[] Contact[] Contact[] + network"));
  EXPECT_TRUE(isCached("Account"));
  EXPECT_THAT(log(), ElementsAre(networkErrorLine + "line down", publicErrorLine + networkText));
}

TEST_F(CompactLayoutDataServiceFailureTest, NoBodyAndNoErrorIsLoggedOnlyOnce) {
  network->answer(layoutsUrl("Account"), StubNetwork::nothing());
  lookUp({"Account"});
  EXPECT_THAT(answers, ElementsAre(" + network"));
  EXPECT_THAT(log(), ElementsAre(miss, publicErrorLine + networkText));
  EXPECT_EQ(network->count(), 1U);
}

TEST_F(CompactLayoutDataServiceFailureTest, ABodyThatIsNoAnswerGivesWhatIsCachedAndDecoding) {
  cacheLayout("Contact", 0);
  network->answer(layoutsUrl("Account"),
                  StubNetwork::body(R"([{"code":"SERVER_ERROR"}])").with({"", 500, {}}));
  lookUp({"Account", "Contact"});
  EXPECT_THAT(answers, ElementsAre("Contact[] + decoding"));
  EXPECT_THAT(log(), ElementsAre(miss, "error: " + operation + "Failed to decode: expected an object at $",
                                 publicErrorLine + decodingText));
  EXPECT_EQ(network->count(), 1U);
}

TEST_F(CompactLayoutDataServiceFailureTest, AnEmptyBodyDoesNotDecode) {
  network->answer(layoutsUrl("Account"), StubNetwork::body(""));
  lookUp({"Account"});
  EXPECT_THAT(answers, ElementsAre(" + decoding"));
}

TEST_F(CompactLayoutDataServiceFailureTest, GoodBodiesAreUsedWhateverTheStatus) {
  network->answer(layoutsUrl("Account"), StubNetwork::body(onlyAccount).with({"", 500, {}}));
  network->answer(namesUrl("'User'"), StubNetwork::body(userName).with({"", 404, {}}));
  lookUp({"Account"});
  EXPECT_THAT(answers, ElementsAre("Account[Name,Owner.Name]"));
}

/// Adds an error to every answer.
class PessimisticNetwork final : public CorvaneSDK::Network {
 public:
  explicit PessimisticNetwork(std::shared_ptr<Network> next) : next_(std::move(next)) {}
  void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override {
    next_->sendRequest(request, [completion = std::move(completion)](auto data, auto, auto response) {
      completion(std::move(data), TestError{"line down"}, std::move(response));
    });
  }

 private:
  const std::shared_ptr<Network> next_;
};

TEST_F(CompactLayoutDataServiceFailureTest, AnErrorBesideABodyIsIgnored) {
  serveAccount();
  const auto pessimist = std::make_shared<PessimisticNetwork>(network);
  service = std::make_shared<CompactLayoutDataService>(RequiredAPI{pessimist, cache, logger}, timeout);
  lookUp({"Account"});
  EXPECT_THAT(answers, ElementsAre("Account[Name,Owner.Name]"));
  EXPECT_THAT(logger->texts(CorvaneSDK::LogLevel::error), IsEmpty());
}

TEST_F(CompactLayoutDataServiceFailureTest,
       AFailedNameQueryAnswersWhatTheServerSentWithoutErrorAndCachesNothing) {
  struct Case {
    StubNetwork::Answer answer;
    std::string reason;
  };
  const std::vector<Case> cases = {
      {StubNetwork::failure(TestError{"line down"}), "line down"},
      {StubNetwork::nothing(),
       "The operation could not be completed. (CompactLayoutDataServiceError.network)"},
      {StubNetwork::body("{}"), R"(missing key "records" at $)"},
  };
  cacheLayout("Contact", 0);
  for (const auto& each : cases) {
    network->answer(layoutsUrl("Account"), StubNetwork::body(onlyAccount));
    network->answer(namesUrl("'User'"), each.answer);
    logger->clear();
    lookUp({"Account", "Contact"});
    EXPECT_EQ(answers.back(), "Account[Name,OwnerId] Contact[]");
    EXPECT_THAT(log(), ElementsAre(miss, getting + "Account compactLayout(s) - 'User'",
                                   namesErrorLine + each.reason));
    EXPECT_FALSE(isCached("Account"));
  }
  EXPECT_EQ(answers.size(), cases.size());
}

TEST_F(CompactLayoutDataServiceFailureTest, AfterAFailedNameQueryTheNextLookupAsksTheServerAgain) {
  network->answer(layoutsUrl("Account"), StubNetwork::body(onlyAccount));
  network->answer(namesUrl("'User'"), {StubNetwork::nothing(), StubNetwork::body(userName)});
  lookUp({"Account"});
  lookUp({"Account"});
  EXPECT_THAT(answers, ElementsAre("Account[Name,OwnerId]", "Account[Name,Owner.Name]"));
  EXPECT_EQ(network->count(), 4U);
}

TEST_F(CompactLayoutDataServiceFailureTest, ABlobThatDoesNotDecodeIsFetchedAgainAndOverwritten) {
  cache->save(Data(std::string(R"({"compactLayout":7})")), "OPS_CompactLayout_Account");
  network->answer(layoutsUrl("Account"), StubNetwork::nothing());
  lookUp({"Account"});
  EXPECT_EQ(log().at(0), "error: load(key:): Failed to decode: expected an object at $.compactLayout");
  EXPECT_TRUE(isCached("Account")) << "a bad blob stays until a download replaces it";
  serveAccount();
  lookUp({"Account"});
  lookUp({"Account"});
  EXPECT_THAT(answers, ElementsAre(" + network", "Account[Name,Owner.Name]", "Account[Name,Owner.Name]"));
  EXPECT_EQ(network->count(), 3U);
}

TEST_F(CompactLayoutDataServiceFailureTest, ALayoutThatCannotBeEncodedIsDeliveredAndLoggedButNotCached) {
  clock.set(Date::sinceReferenceDate(std::numeric_limits<double>::infinity()));
  serveAccount();
  lookUp({"Account"});
  EXPECT_THAT(answers, ElementsAre("Account[Name,Owner.Name]"));
  EXPECT_FALSE(isCached("Account"));
  EXPECT_THAT(log().back(), StartsWith("error: save(key:compactLayout:): Failed to encode: "));
}

TEST_F(CompactLayoutDataServiceFailureTest, ACacheThatRefusesToSaveChangesNothingForTheCaller) {
  recordedCache->fail(FailingCache::Operation::save);
  serveAccount();
  lookUp({"Account"});
  EXPECT_THAT(answers, ElementsAre("Account[Name,Owner.Name]"));
  EXPECT_EQ(log().size(), 3U);
}

TEST_F(CompactLayoutDataServiceFailureTest, TheProducerOfNamesFailsWithTheReason) {
  std::optional<Error> reason;
  const auto fail = [&](const StubNetwork::Answer& answer) {
    network->answer(namesUrl("'A'"), answer);
    const auto token = service->qualifiedApiNameAsPublisher("'A'").sink(
        [](const auto&) { FAIL() << "a value"; }, [&](const std::optional<Error>& error) { reason = error; });
    return reason.has_value();
  };
  ASSERT_TRUE(fail(StubNetwork::failure(TestError{"line down"})));
  EXPECT_NE(reason->as<TestError>(), nullptr);
  ASSERT_TRUE(fail(StubNetwork::nothing()));
  ASSERT_NE(reason->as<CompactLayoutDataServiceError>(), nullptr);
  EXPECT_EQ(*reason->as<CompactLayoutDataServiceError>(), CompactLayoutDataServiceError::network());
  ASSERT_TRUE(fail(StubNetwork::body("[]")));
  EXPECT_NE(reason->as<DecodingError>(), nullptr);
}

}  // namespace
}  // namespace vellora
