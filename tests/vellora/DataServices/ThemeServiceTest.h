#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/FailingCache.h"
#include "testkit/RecordingLogger.h"
#include "testkit/StubNetwork.h"
#include "tests/support/Answer.h"
#include "tests/support/PrintRecords.h"
#include "tests/support/TestClock.h"
#include "vellora/DataServices/ThemeDataService.h"
#include "vellora/Host/CacheTable.h"

namespace vellora::tests {

using Themes = std::map<std::string, ThemeItem>;

/// The host of a `ThemeDataService`, its time stopped, and what the cache may already hold.
class ThemeServiceTest : public testing::Test {
 protected:
  static constexpr const char* url = "/services/data/v50.0/theme";
  static constexpr double start = 1'700'000'000;
  static constexpr double cacheTimeout = 300;

  [[nodiscard]] std::shared_ptr<ThemeDataService> makeService(double timeout = cacheTimeout) const {
    return std::make_shared<ThemeDataService>(RequiredAPI{network, cache, logger}, timeout);
  }

  /// An entry that is told from others by its one icon, and its JSON form.
  [[nodiscard]] static ThemeItem entry(const std::string& name, const std::string& iconUrl = "url") {
    return {name, std::nullopt, {{"image/png", "light", iconUrl, std::nullopt}}};
  }
  [[nodiscard]] static std::string entryJson(const std::string& name, const std::string& iconUrl = "url") {
    return R"({"name":")" + name + R"(","icons":[{"contentType":"image/png","theme":"light","url":")" +
           iconUrl + R"("}]})";
  }
  [[nodiscard]] static std::string listJson(const std::vector<std::string>& entries) {
    std::string text("[");
    for (const auto& json : entries) text.append(&json == entries.data() ? "" : ",").append(json);
    return text.append("]");
  }
  [[nodiscard]] static std::string response(const std::vector<std::string>& entries) {
    return std::string(R"({"themeItems":)").append(listJson(entries)).append("}");
  }

  /// The table itself: what is done through it is not among the recorded calls.
  [[nodiscard]] std::shared_ptr<CorvaneSDK::CacheTable> table() const {
    using CorvaneSDK::Table;
    return memory->createTable(Table::emptyWithKey("OPS_ThemesCacheTable", Table::MaxAge::sevenDays));
  }
  void keepList(std::string json) const {
    table()->upsert({Data(std::move(json)), {{"cacheEntryType", "themes"}}, {}});
  }
  void keepEntry(const std::string& name, std::string json) const {
    table()->upsert({Data(std::move(json)), {{"cacheEntryType", "theme"}, {"name", name}}, {}});
  }
  void keepTimeStamp(double secondsSince1970) const {
    memory->save(Data(&secondsSince1970, sizeof secondsSince1970), "ops.theme.fetch.timestamp");
  }

  /// What the row of that meta holds.
  [[nodiscard]] std::string rowData(const CorvaneSDK::Meta& meta) const {
    const auto rows = table()->load(CorvaneSDK::Query::exact(CorvaneSDK::metaEquals(meta)));
    return rows.empty() ? "none" : std::string(rows.front().view());
  }

  [[nodiscard]] std::vector<std::string> info() const { return logger->texts(CorvaneSDK::LogLevel::info); }
  [[nodiscard]] std::vector<std::string> errors() const { return logger->texts(CorvaneSDK::LogLevel::error); }

  /// What the completion of `loadThemes` is given, waited for.
  [[nodiscard]] static std::optional<ThemeDataServiceError> load(
      const std::shared_ptr<ThemeDataService>& service) {
    std::promise<std::optional<ThemeDataServiceError>> promise;
    service->loadThemes([&promise](auto error) { promise.set_value(std::move(error)); });
    return promise.get_future().get();
  }

  /// Lets everything that `service` has begun on its queue come to its end there.
  static void passQueue(const std::shared_ptr<ThemeDataService>& service) {
    ASSERT_TRUE(Answer(service->themes({})).wait());
  }

  TestClock clock{Date::since1970(start)};
  std::shared_ptr<hostkit::MemoryCache> memory = std::make_shared<hostkit::MemoryCache>();
  std::shared_ptr<testkit::FailingCache> cache = std::make_shared<testkit::FailingCache>(memory);
  std::shared_ptr<testkit::StubNetwork> network = std::make_shared<testkit::StubNetwork>();
  std::shared_ptr<testkit::RecordingLogger> logger = std::make_shared<testkit::RecordingLogger>();
};

}  // namespace vellora::tests
