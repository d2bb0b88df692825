// What docs/guides/testing.md quotes: an app's class, and how its tests read.

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>

#include "hostkit/StandardPlatformAPI.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/ExpectAnswer.h"
#include "testkit/ManualQueue.h"
#include "testkit/ManualTimer.h"
#include "testkit/SilentLogger.h"
#include "testkit/StubNetwork.h"
#include "vellora/Catalog/Catalog.h"

namespace vellora::testkit {
namespace {

using namespace std::chrono_literals;

// [app]
/// Says of which type a record is, once it is known.
class RecordTitle {
 public:
  RecordTitle(const Catalog& catalog, const std::string& id)
      : pending_(catalog.records({id}, {.deadline = 5s}).then([this, id](const auto& answer) {
          const auto found = answer.found.find(id);
          text = found == answer.found.end() ? answer.missing.at(id).text()
                                             : found->second.typePresentationInfo.label.value_or("");
        })) {}

  std::string text = "…";

 private:
  const QuestionToken pending_;
};
// [app]

// [fixture]
class RecordTitleTest : public testing::Test {
 protected:
  RecordTitleTest() {
    network->answer("/services/data/v50.0/theme", StubNetwork::body(R"({"themeItems": []})"));
    network->answer("/services/data/v50.0/sobjects", StubNetwork::body(R"({"sobjects": [
        {"name": "Account", "keyPrefix": "001", "label": "Company", "labelPlural": "Companies", "createable": true}]})"));
  }

  Catalog newCatalog() const {
    return Catalog(std::make_shared<hostkit::StandardPlatformAPI>(
                       network, std::make_shared<hostkit::MemoryCache>(), std::make_shared<SilentLogger>()),
                   {.answersOn = mainLoop, .timer = timer});
  }

  const std::shared_ptr<StubNetwork> network = std::make_shared<StubNetwork>();
  const std::shared_ptr<ManualQueue> mainLoop = std::make_shared<ManualQueue>();
  const std::shared_ptr<ManualTimer> timer = std::make_shared<ManualTimer>();
};
// [fixture]

// [answer]
TEST_F(RecordTitleTest, IsTheLabelOfTheRecordsType) {
  const Catalog catalog = newCatalog();
  const RecordTitle title(catalog, "001xx");
  EXPECT_TRUE(mainLoop->runUntil([&] { return title.text != "…"; }));  // the library has threads of its own
  EXPECT_EQ(title.text, "Company");
}
// [answer]

// [steps]
TEST_F(RecordTitleTest, ChangesWhenTheMainLoopComesToIt) {
  network->answerPrefix("/services/", StubNetwork::never());
  const Catalog catalog = newCatalog();
  const RecordTitle title(catalog, "001xx");
  timer->advance(5s);  // the deadline: the answer goes to the main loop …
  EXPECT_EQ(mainLoop->pending(), 1U);
  EXPECT_EQ(title.text, "…");  // … which has not run yet
  EXPECT_TRUE(mainLoop->runNext());
  EXPECT_EQ(title.text, "timed out");
}
// [steps]

// [deadline]
TEST_F(RecordTitleTest, SaysSoWhenTheServerDoesNotAnswerInTime) {
  network->answerPrefix("/services/", StubNetwork::never());
  const Catalog catalog = newCatalog();
  const RecordTitle title(catalog, "001xx");
  timer->advance(5s);
  mainLoop->runAll();
  EXPECT_EQ(title.text, "timed out");
}
// [deadline]

// [expect]
TEST_F(RecordTitleTest, ARecordOfNoTypeIsUnknown) {
  const Catalog catalog = newCatalog();
  const auto answer = expectEnd(catalog.records({"001xx", "zzz"}).get(), End::answered);
  EXPECT_EQ(expectFound(answer, "001xx").typePresentationInfo.labelPlural, "Companies");
  expectMissing(answer, "zzz", Missing::Why::unknown);
}
// [expect]

}  // namespace
}  // namespace vellora::testkit
