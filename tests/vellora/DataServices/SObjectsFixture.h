#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/FailingCache.h"
#include "testkit/RecordingLogger.h"
#include "testkit/StubNetwork.h"
#include "tests/support/PrintRecords.h"
#include "vellora/DataServices/SObjectsDataService.h"

namespace vellora {

inline constexpr const char* listUrl = "/services/data/v50.0/sobjects";

/// The list-view query for an id that needs no escaping.
inline std::string queryUrl(const std::string& id) {
  return "/services/data/v50.0/query?q=SELECT%20Id,SobjectType%20FROM%20ListView%20WHERE%20Id%20%3D%20'" +
         id + "'";
}

inline const SObject account{"Account", "001", "Account", "Accounts", true};
inline const SObject contact{"Contact", "003", "Contact", "Contacts", true};
inline const SObject listView{"ListView", "00B", "List View", "List Views", false};
inline const SObject status{"Status", std::nullopt, "Status", "Statuses", false};

/// The server's list of these four.
inline constexpr const char* listBody =
    R"({"encoding":"UTF-8","sobjects":[)"
    R"({"name":"Account","keyPrefix":"001","label":"Account","labelPlural":"Accounts","createable":true},)"
    R"({"name":"Contact","keyPrefix":"003","label":"Contact","labelPlural":"Contacts","createable":true},)"
    R"({"name":"ListView","keyPrefix":"00B","label":"List View","labelPlural":"List Views","createable":false},)"
    R"({"name":"Status","keyPrefix":null,"label":"Status","labelPlural":"Statuses","createable":false}]})";

inline std::string listViewBody(const std::string& id, const std::string& type) {
  return R"({"count":1,"complete":true,"records":[{"Id":")" + id + R"(","SobjectType":")" + type + R"("}]})";
}

/// What a subscriber was given.
template <class T>
struct Received {
  std::vector<T> values;
  std::optional<Completion> end;

  [[nodiscard]] bool silent() const { return values.empty() && !end; }
  [[nodiscard]] bool failed() const { return end && *end; }
  [[nodiscard]] std::string failure() const { return failed() ? (*end)->localizedDescription() : "none"; }
};

/// A host of doubles around a memory cache.
struct SObjectsHost {
  std::shared_ptr<testkit::StubNetwork> network = std::make_shared<testkit::StubNetwork>();
  std::shared_ptr<testkit::FailingCache> cache =
      std::make_shared<testkit::FailingCache>(std::make_shared<hostkit::MemoryCache>());
  std::shared_ptr<testkit::RecordingLogger> logger = std::make_shared<testkit::RecordingLogger>();

  [[nodiscard]] RequiredAPI api() const { return {network, cache, logger}; }
  [[nodiscard]] std::vector<std::string> infos() const { return logger->texts(CorvaneSDK::LogLevel::info); }
  [[nodiscard]] std::vector<std::string> errors() const { return logger->texts(CorvaneSDK::LogLevel::error); }
};

}  // namespace vellora
