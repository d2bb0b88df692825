#include "apps/vellora/command/CommandCatalog.h"

#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>

#include "hostkit/cache/memory/MemoryCache.h"
#include "hostkit/secrets/KnownSecrets.h"
#include "testkit/RecordingLogger.h"
#include "testkit/StubNetwork.h"
#include "tests/apps/vellora/CommandFixture.h"

namespace vellora::command {
namespace {

using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;
using testkit::StubNetwork;

constexpr const char* columnsPath = "/services/data/v50.0/search/layout";

class CommandCatalogTest : public testing::Test {
 protected:
  const std::shared_ptr<StubNetwork> network = std::make_shared<StubNetwork>();
  const RequiredAPI host{network, std::make_shared<hostkit::MemoryCache>(),
                         std::make_shared<testkit::RecordingLogger>()};
  const CommandCatalog catalog{Arguments(), host};
  std::stop_source stop;
  const std::stop_token stopped = stop.get_token();
};

TEST_F(CommandCatalogTest, SendsWhatTheQuestionNeedsAndNoMore) {
  network->answerPrefix(columnsPath, StubNetwork::body("[]"));
  EXPECT_EQ(catalog->searchColumns({"Account"}).get().end, End::answered);
  EXPECT_THAT(network->urls(), ElementsAre(std::string(columnsPath) + "?q=Account"));
  EXPECT_EQ(catalog.unanswered(), std::nullopt);
}

TEST_F(CommandCatalogTest, KnowsTheRequestThatAQuestionWaitedForWhenItEnded) {
  network->answerPrefix(columnsPath, StubNetwork::never());
  auto question = catalog->searchColumns({"Account"}, {.stop = stopped});
  ASSERT_TRUE(network->waitForRequests(1));
  stop.request_stop();
  EXPECT_EQ(std::move(question).get().end, End::cancelled);
  EXPECT_EQ(catalog.unanswered(), columnsPath);
}

TEST_F(CommandCatalogTest, ARequestThatWasAnsweredIsNotWaitedFor) {
  network->answer("/services/data/v50.0/sobjects", StubNetwork::body(R"({"sobjects":[]})").held());
  network->answer("/services/data/v50.0/theme", StubNetwork::never());
  auto question = catalog->types({"Account"}, {.stop = stopped});
  ASSERT_TRUE(network->waitForRequests(2));
  ASSERT_EQ(network->release("/services/data/v50.0/sobjects"), 1U);
  stop.request_stop();
  EXPECT_EQ(std::move(question).get().end, End::cancelled);
  EXPECT_EQ(catalog.unanswered(), "/services/data/v50.0/theme");
}

TEST_F(CommandCatalogTest, ThemeTimeOutAndDeadlineAreThoseOfTheArguments) {
  Arguments arguments;
  arguments.theme = "dark";
  arguments.cacheTimeout = 12.5;
  arguments.wait = 2.5;
  EXPECT_EQ(catalogOptions(arguments).theme, "dark");
  EXPECT_EQ(catalogOptions(arguments).cacheTimeout.count(), 12.5);
  EXPECT_EQ(questionOptions(arguments).deadline.count(), 2.5);
}

class ImpatientCommandTest : public CommandFixture {};

TEST_F(ImpatientCommandTest, SendsNothingTwiceToAServerThatBreaksConnections) {
  server->setFault(RecordsServer::everything, Fault::drop());
  const auto ended = run({"names", "Account"});
  EXPECT_EQ(ended.exitCode, 5);
  EXPECT_THAT(server->requests(),
              UnorderedElementsAre("GET /services/data/v50.0/theme", "GET /services/data/v50.0/sobjects"));
}

TEST_F(ImpatientCommandTest, AServerThatIsNotThereIsToldThoughTheWaitIsLong) {
  server->stop();
  const auto ended = run({"--wait", "100000", "search-layouts", "Account"});
  EXPECT_EQ(ended.exitCode, 5);
  EXPECT_THAT(ended.err, HasSubstr("vellora: no search layout for Account: "));
}

TEST(NamedCatalogTest, ASecondQuestionIsToldOfLikeTheFirst) {
  Arguments arguments;
  arguments.output.talk = Talk::verbose;
  const auto network = std::make_shared<StubNetwork>();
  network->answerPrefix(columnsPath, StubNetwork::body("[]"));
  const RequiredAPI host{network, std::make_shared<hostkit::MemoryCache>(),
                         std::make_shared<testkit::RecordingLogger>()};
  const CommandCatalog catalog(arguments, host, std::make_shared<hostkit::KnownSecrets>(), "work");
  testing::internal::CaptureStderr();
  catalog.answerTo(&Catalog::searchColumns, Keys{"Account"}, QuestionOptions());
  catalog.answerTo(&Catalog::searchColumns, Keys{"Contact"}, QuestionOptions());
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              ContainsRegex("^(vellora: work: GET /services/data/v50.0/search/layout: 2 bytes after [^\n]+\n"
                            "vellora: work: 0 found, 1 missing,[^\n]+\n){2}$"));
}

}  // namespace
}  // namespace vellora::command
