#include "vellora/DataServices/CompactLayoutRequests.h"

#include <string_view>
#include <utility>

#include "vellora/DataServices/CompactLayoutDataService.h"
#include "vellora/DataServices/Joined.h"
#include "vellora/DataServices/ServerRequest.h"
#include "vellora/DataServices/UrlLength.h"

namespace vellora {

using CorvaneSDK::NetRequest;

namespace {

std::optional<NetRequest> requestFor(std::string_view endpoint, std::string queryText) {
  const auto version = std::string(CompactLayoutDataService::Constants::queryApiVersion);
  return serverRequest("/services/data/" + version + std::string(endpoint), std::move(queryText));
}

std::optional<NetRequest> queryRequest(std::string queryText) {
  return requestFor("/query", std::move(queryText));
}

}  // namespace

std::optional<NetRequest> requestToGetCompactLayout(const std::vector<std::string>& objectTypeNames) {
  return requestFor("/compactLayouts", joined(objectTypeNames, ","));
}

std::optional<NetRequest> nameFieldsRequest(const std::string& entities) {
  return queryRequest(
      "SELECT EntityDefinition.QualifiedApiName, QualifiedApiName, IsNameField FROM FieldDefinition WHERE "
      "EntityDefinition.QualifiedApiName IN (" +
      entities + ") AND IsNameField = true");
}

std::vector<std::string> askable(std::vector<std::string> types) {
  std::erase_if(types, [](const std::string& type) { return type.size() > longestName; });
  return types;
}

}  // namespace vellora
