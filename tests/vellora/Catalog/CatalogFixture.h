#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/StandardPlatformAPI.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/FailingCache.h"
#include "testkit/ManualQueue.h"
#include "testkit/ManualTimer.h"
#include "testkit/RecordingLogger.h"
#include "testkit/StubNetwork.h"
#include "tests/support/ManualQueues.h"
#include "tests/support/PassingError.h"
#include "tests/support/TestClock.h"
#include "tests/support/TestError.h"
#include "vellora/Catalog/Catalog.h"

namespace vellora::tests {

/// A catalogue on doubles, on one thread: every queue is stepped by hand, clock and timer stand.
class CatalogFixture : public testing::Test {
 protected:
  static constexpr const char* themesUrl = "/services/data/v50.0/theme";
  static constexpr const char* typesUrl = "/services/data/v50.0/sobjects";

  /// What became of a question.
  template <class T>
  struct Received {
    int calls = 0;
    Answer<T> answer;
    QuestionToken token;
  };

  CatalogFixture() {
    network->answer(themesUrl, testkit::StubNetwork::body(themesBody()));
    network->answer(typesUrl, testkit::StubNetwork::body(typesBody()));
    network->answer(listViewUrl("00Bxx"), listViewAnswer("Contact"));
  }

  static std::string typesBody() {
    return R"({"sobjects":[)"
           R"({"name":"Account","keyPrefix":"001","label":"Account","labelPlural":"Accounts","createable":true},)"
           R"({"name":"Contact","keyPrefix":"003","label":"Contact","labelPlural":"Contacts","createable":false},)"
           R"({"name":"ListView","keyPrefix":"00B","label":"List","labelPlural":"Lists","createable":false}]})";
  }

  static std::string themesBody() {
    return R"({"themeItems":[)"
           R"({"name":"Account","colors":[{"color":"FF0000","context":"primary","theme":"light"},)"
           R"({"color":"00FF00","context":"primary","theme":"dark"}],"icons":[]},)"
           R"({"name":"Contact","icons":[{"contentType":"image/png","theme":"light","url":"c.png","width":16}]}]})";
  }

  static std::string listViewUrl(const std::string& id) {
    return "/services/data/v50.0/query?q=SELECT%20Id,SobjectType%20FROM%20ListView%20WHERE%20Id%20%3D%20'" +
           id + "'";
  }

  static testkit::StubAnswer listViewAnswer(const std::string& type) {
    return testkit::StubNetwork::body(R"({"records":[{"Id":"00Bxx","SobjectType":")" + type + R"("}]})");
  }

  /// An error that may pass.
  static testkit::StubAnswer busy(std::optional<std::chrono::duration<double>> after = std::nullopt) {
    return testkit::StubNetwork::failure(PassingError{"busy", after});
  }
  static testkit::StubAnswer down() { return testkit::StubNetwork::failure(TestError{"down"}); }

  void construct() {
    catalog.emplace(std::make_shared<hostkit::StandardPlatformAPI>(network, cache, logger), catalogOptions);
  }

  /// Constructs the catalogue and lets everything run until nothing is left to do.
  void constructAndLoad() {
    construct();
    runAll();
  }

  /// Runs all queues until none has work left.
  void runAll() {
    while (queue->runAll() + queues.runAll() > 0) {
    }
  }

  /// Waits for the answer with a callback.
  template <class T>
  [[nodiscard]] std::shared_ptr<Received<T>> ask(Question<T> question) {
    auto received = std::make_shared<Received<T>>();
    received->token = std::move(question).then([received = received.get()](Answer<T> answer) {
      ++received->calls;
      received->answer = std::move(answer);
    });
    return received;
  }

  /// The answer, which must come without further help.
  template <class T>
  [[nodiscard]] Answer<T> answered(Question<T> question) {
    const auto received = ask(std::move(question));
    runAll();
    EXPECT_EQ(received->calls, 1);
    return std::move(received->answer);
  }

  template <class T>
  [[nodiscard]] static std::vector<std::string> keysOf(const std::map<std::string, T>& map) {
    std::vector<std::string> keys;
    for (const auto& [key, value] : map) keys.push_back(key);
    return keys;
  }

  /// Why each key is missing.
  template <class T>
  [[nodiscard]] static std::map<std::string, std::string> reasonsOf(const Answer<T>& answer) {
    std::map<std::string, std::string> reasons;
    for (const auto& [key, missing] : answer.missing) reasons.emplace(key, missing.text());
    return reasons;
  }

  TestClock clock;
  ManualQueues queues;
  const std::shared_ptr<testkit::ManualQueue> queue = std::make_shared<testkit::ManualQueue>();
  const std::shared_ptr<testkit::ManualTimer> timer = std::make_shared<testkit::ManualTimer>();
  const std::shared_ptr<testkit::StubNetwork> network = std::make_shared<testkit::StubNetwork>();
  const std::shared_ptr<testkit::FailingCache> cache =
      std::make_shared<testkit::FailingCache>(std::make_shared<hostkit::MemoryCache>());
  const std::shared_ptr<testkit::RecordingLogger> logger = std::make_shared<testkit::RecordingLogger>();
  CatalogOptions catalogOptions{.theme = "light",
                                .cacheTimeout = std::chrono::hours(1),
                                .answersOn = queue,
                                .timer = timer,
                                .retry = {.jitter = [] { return 1.0; }}};
  std::optional<Catalog> catalog;
};

}  // namespace vellora::tests
