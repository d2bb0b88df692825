#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/StandardPlatformAPI.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/FailingCache.h"
#include "testkit/ManualQueue.h"
#include "testkit/RecordingLogger.h"
#include "testkit/StubNetwork.h"
#include "tests/support/ManualQueues.h"
#include "tests/support/TestClock.h"
#include "tests/support/TestError.h"
#include "vellora/DataServices/SObjectsDataServiceError.h"
#include "vellora/DataServices/ThemeDataServiceError.h"
#include "vellora/Services/VelloraService.h"

namespace vellora::tests {

/// A façade on doubles, on one thread: every queue is stepped by hand, the clock stands.
class ServiceFixture : public testing::Test {
 protected:
  using Infos = std::map<std::string, ObjectPresentationInfo>;

  static constexpr double timeout = 3600;
  static constexpr const char* themesUrl = "/services/data/v50.0/theme";
  static constexpr const char* sObjectsUrl = "/services/data/v50.0/sobjects";

  /// Counts its answers, as lookups have to answer once.
  struct Received {
    int calls = 0;
    Infos infos;
  };

  ServiceFixture() {
    network->answer(themesUrl, testkit::StubNetwork::body(themesBody()));
    network->answer(sObjectsUrl, testkit::StubNetwork::body(sObjectsBody()));
    network->answerPrefix(
        "/services/data/v50.0/query?",
        testkit::StubNetwork::body(R"({"records":[{"Id":"00Bxx","SobjectType":"Contact"}]})"));
  }

  static std::string sObjectsBody() {
    return R"({"sobjects":[)"
           R"({"name":"Account","keyPrefix":"001","label":"Account","labelPlural":"Accounts","createable":true},)"
           R"({"name":"Contact","keyPrefix":"003","label":"Contact","labelPlural":"Contacts","createable":false},)"
           R"({"name":"ListView","keyPrefix":"00B","label":"List","labelPlural":"Lists","createable":false}]})";
  }

  static std::string themesBody() {
    return R"({"themeItems":[)"
           R"({"name":"Account","colors":[{"color":"FF0000","context":"primary","theme":"light"}],"icons":[]},)"
           R"({"name":"Contact","icons":[{"contentType":"image/png","theme":"light","url":"c.png","width":16}]}]})";
  }

  void construct() { service.emplace(api(), timeout, "light", queue); }

  [[nodiscard]] std::shared_ptr<hostkit::StandardPlatformAPI> api() const {
    return std::make_shared<hostkit::StandardPlatformAPI>(network, cache, logger);
  }

  /// Constructs the façade and lets everything run until nothing is left to do.
  void constructAndLoad() {
    construct();
    runAll();
  }

  /// Runs all queues, the host's too, until none has work left.
  void runAll() {
    while (queue->runAll() + queues.runAll() > 0) {
    }
  }

  VelloraService::PresentationCompletion into(Received& answer) {
    return [&answer](Infos infos) {
      ++answer.calls;
      answer.infos = std::move(infos);
    };
  }

  [[nodiscard]] std::vector<std::string> infos() const { return logger->texts(CorvaneSDK::LogLevel::info); }

  /// The info lines that begin with `start`.
  [[nodiscard]] std::vector<std::string> infosOf(const std::string& start) const {
    auto lines = infos();
    std::erase_if(lines, [&](const auto& line) { return !line.starts_with(start); });
    return lines;
  }

  [[nodiscard]] static std::vector<std::string> keysOf(const Infos& infos) {
    std::vector<std::string> keys;
    for (const auto& [key, info] : infos) keys.push_back(key);
    return keys;
  }

  TestClock clock;
  ManualQueues queues;
  const std::shared_ptr<testkit::ManualQueue> queue = std::make_shared<testkit::ManualQueue>();
  const std::shared_ptr<testkit::StubNetwork> network = std::make_shared<testkit::StubNetwork>();
  const std::shared_ptr<testkit::FailingCache> cache =
      std::make_shared<testkit::FailingCache>(std::make_shared<hostkit::MemoryCache>());
  const std::shared_ptr<testkit::RecordingLogger> logger = std::make_shared<testkit::RecordingLogger>();
  std::optional<VelloraService> service;
};

}  // namespace vellora::tests
