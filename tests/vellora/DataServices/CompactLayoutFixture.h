#pragma once

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/FailingCache.h"
#include "testkit/RecordingLogger.h"
#include "testkit/StubNetwork.h"
#include "tests/support/TestClock.h"
#include "tests/support/TestError.h"
#include "vellora/DataServices/CompactLayoutDataService.h"
#include "vellora/Models/CompactLayoutCacheEntry.h"

namespace vellora::tests {

/// A field as the server sends it: a reference when it points somewhere.
struct ServerField {
  std::string value;
  std::string type = "string";
  std::string referenceTo = {};
  std::string relationshipName = {};
};

/// The member of the server's answer that holds the layout of `type`, each field on a line of its own.
inline std::string layoutJson(const std::string& type, const std::vector<ServerField>& fields) {
  const auto quoted = [](const std::string& text) { return "\"" + text + "\""; };
  std::string items;
  for (const auto& field : fields) {
    items.append(items.empty() ? "" : ",")
        .append(R"({"label":"Line","layoutComponents":[{"value":)" + quoted(field.value))
        .append(R"(,"details":{"label":"Field","htmlFormatted":false,"type":)" + quoted(field.type))
        .append(R"(,"referenceTo":[)" + (field.referenceTo.empty() ? "" : quoted(field.referenceTo)))
        .append(R"(],"relationshipName":)" +
                (field.relationshipName.empty() ? "null" : quoted(field.relationshipName)))
        .append("}}]}");
  }
  return quoted(type) + R"(:{"objectType":)" + quoted(type) + R"(,"fieldItems":[)" + items + "]}";
}

/// The server's answer that holds the layout of `type` alone.
inline std::string layoutsJson(const std::string& type, const std::vector<ServerField>& fields) {
  return std::string("{").append(layoutJson(type, fields)).append("}");
}

/// The server's answer to the name query: type and name field.
inline std::string namesJson(const std::vector<std::pair<std::string, std::string>>& names) {
  std::string rows;
  for (const auto& [type, field] : names) {
    rows.append(rows.empty() ? "" : ",")
        .append(R"({"EntityDefinition":{"QualifiedApiName":")" + type)
        .append(R"("},"QualifiedApiName":")" + field + R"("})");
  }
  return R"({"records":[)" + rows + "]}";
}

inline std::string layoutsUrl(const std::string& names) {
  return "/services/data/v53.0/compactLayouts?q=" + names;
}

inline std::string namesUrl(const std::string& entities) {
  return "/services/data/v53.0/query?q=SELECT%20EntityDefinition.QualifiedApiName,%20QualifiedApiName,%20"
         "IsNameField%20FROM%20FieldDefinition%20WHERE%20EntityDefinition.QualifiedApiName%20IN%20(" +
         entities + ")%20AND%20IsNameField%20%3D%20true";
}

/// What a completion received, such as "Account[Name,Owner.Name] Contact[] + network"; "nil" for no list.
inline std::string answerText(const std::optional<std::vector<ObjectCompactLayoutInfo>>& layouts,
                              const std::optional<SObjectsDataServiceError>& error) {
  std::string text = layouts ? "" : "nil";
  for (const auto& layout : layouts.value_or(std::vector<ObjectCompactLayoutInfo>())) {
    text.append(text.empty() ? "" : " ").append(layout.objectType).append("[");
    for (const auto& field : layout.layoutFields) {
      text.append(field == layout.layoutFields.front() ? "" : ",").append(field->apiName);
    }
    text.append("]");
  }
  return error ? text + " + " + error->description() : text;
}

/// A download of one layout, and what its caller gets.
struct SampleDownload {
  std::string type;
  std::string layoutsUrl;
  std::string layouts;
  std::string namesUrl;
  std::string names;
  std::string rewritten;
  std::string asSent;
};

inline const std::array<SampleDownload, 3> downloads{
    SampleDownload{"Account", layoutsUrl("Account"),
                   layoutsJson("Account", {{"OwnerId", "reference", "User", "Owner"}}), namesUrl("'User'"),
                   namesJson({{"User", "Name"}}), "Account[Owner.Name]", "Account[OwnerId]"},
    SampleDownload{
        "Case", layoutsUrl("Case"), layoutsJson("Case", {{"ContactId", "reference", "Contact", "Contact"}}),
        namesUrl("'Contact'"), namesJson({{"Contact", "Name"}}), "Case[Contact.Name]", "Case[ContactId]"},
    SampleDownload{"Order", layoutsUrl("Order"),
                   layoutsJson("Order", {{"InvoiceId", "reference", "Invoice", "Invoice"}}),
                   namesUrl("'Invoice'"), namesJson({{"Invoice", "Number"}}), "Order[Invoice.Number]",
                   "Order[InvoiceId]"},
};

/// A service on doubles: the network answers as it is told, the cache records and fails as it is told.
class CompactLayoutFixture : public testing::Test {
 protected:
  static constexpr double timeout = 3600;

  CompactLayoutDataService::Completion record() {
    return [this](const auto& layouts, const auto& error) {
      answers.push_back(answerText(layouts, error));
      answerThread = std::this_thread::get_id();
    };
  }

  void lookUp(const std::vector<std::string>& names) { service->compactLayoutForApiName(names, record()); }

  std::shared_ptr<CompactLayoutDataService> makeService(double cacheTimeout = timeout) {
    return std::make_shared<CompactLayoutDataService>(RequiredAPI{network, recordedCache, logger},
                                                      cacheTimeout);
  }

  /// Caches a layout of `type` without fields.
  void cacheLayout(const std::string& type, double age) {
    const auto downloaded = Date::sinceReferenceDate(clock.date().secondsSinceReferenceDate() - age);
    cache->save(json::encode(CompactLayoutCacheEntry{{{}, type}, downloaded}).value(),
                "OPS_CompactLayout_" + type);
  }

  /// The blob of `type`, "none" when there is none.
  [[nodiscard]] std::string blob(const std::string& type) const {
    const auto data = cache->load("OPS_CompactLayout_" + type);
    return data ? std::string(data->view()) : "none";
  }

  [[nodiscard]] bool isCached(const std::string& type) const { return blob(type) != "none"; }

  [[nodiscard]] std::vector<std::string> log() const {
    std::vector<std::string> lines;
    for (const auto& line : logger->lines()) {
      lines.push_back((line.level == CorvaneSDK::LogLevel::error ? "error: " : "info: ") + line.text);
    }
    return lines;
  }

  /// The server knows Account, and the name field of User.
  void serveAccount() {
    network->answer(layoutsUrl("Account"), testkit::StubNetwork::body(onlyAccount));
    network->answer(namesUrl("'User'"), testkit::StubNetwork::body(userName));
  }

  const std::string account = layoutJson("Account", {{"Name"}, {"OwnerId", "reference", "User", "Owner"}});
  const std::string onlyAccount = std::string("{").append(account).append("}");
  const std::string userName = namesJson({{"User", "Name"}});

  TestClock clock;
  const std::shared_ptr<testkit::StubNetwork> network = std::make_shared<testkit::StubNetwork>();
  const std::shared_ptr<hostkit::MemoryCache> cache = std::make_shared<hostkit::MemoryCache>();
  const std::shared_ptr<testkit::FailingCache> recordedCache = std::make_shared<testkit::FailingCache>(cache);
  const std::shared_ptr<testkit::RecordingLogger> logger = std::make_shared<testkit::RecordingLogger>();
  std::shared_ptr<CompactLayoutDataService> service = makeService();

  std::vector<std::string> answers;
  std::thread::id answerThread;
};

}  // namespace vellora::tests
