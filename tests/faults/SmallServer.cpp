#include "tests/faults/SmallServer.h"

#include <array>
#include <string>
#include <string_view>

namespace vellora::faults {

namespace {

constexpr std::array<std::string_view, 2> types = {"Account", "Contact"};

constexpr const char* tag = "\"1\"";

constexpr std::string_view sObjects =
    R"({"sobjects":[)"
    R"({"name":"Account","keyPrefix":"001","label":"Company","labelPlural":"Companies","createable":true},)"
    R"({"name":"Contact","keyPrefix":"003","label":"Person","labelPlural":"People","createable":false},)"
    R"({"name":"ListView","keyPrefix":"00B","label":"List","labelPlural":"Lists","createable":false}]})";

constexpr std::string_view themes =
    R"({"themeItems":[)"
    R"({"name":"Account","colors":[{"color":"FF0000","context":"primary","theme":"light"}],"icons":[]},)"
    R"({"name":"Contact","colors":[{"color":"00FF00","context":"primary","theme":"light"}],"icons":[]},)"
    R"({"name":"ListView","colors":[{"color":"0000FF","context":"primary","theme":"light"}],"icons":[]}]})";

constexpr std::string_view listViews = R"({"records":[{"Id":"00B","SobjectType":"Contact"}]})";

constexpr std::string_view nameFields =
    R"({"records":[{"QualifiedApiName":"Name","EntityDefinition":{"QualifiedApiName":"User"}}]})";

std::string searchLayoutOf(std::string_view type) {
  return std::string(R"({"objectType":")")
      .append(type)
      .append(R"(","searchColumns":[{"name":"Name","label":"Name","field":"Name"}]})");
}

std::string compactLayoutOf(std::string_view type) {
  return std::string("\"")
      .append(type)
      .append(R"(":{"objectType":")")
      .append(type)
      .append(R"(","fieldItems":[{"label":"Owner","layoutComponents":[{"value":"OwnerId","details":)")
      .append(R"({"type":"reference","label":"Owner","htmlFormatted":false,"referenceTo":["User"],)")
      .append(R"("relationshipName":"Owner"}}]}]})");
}

/// The layouts of the types that the request names.
template <class LayoutOf>
std::string layouts(std::string_view url, std::string_view open, LayoutOf layoutOf, std::string_view close) {
  std::string text(open);
  for (const auto type : types) {
    if (url.find(type) == std::string_view::npos) continue;
    text.append(text.size() > open.size() ? "," : "").append(layoutOf(type));
  }
  return text.append(close);
}

std::optional<std::string> bodyFor(std::string_view url) {
  if (url == "/services/data/v50.0/sobjects") return std::string(sObjects);
  if (url == "/services/data/v50.0/theme") return std::string(themes);
  if (url.starts_with("/services/data/v50.0/query?")) return std::string(listViews);
  if (url.starts_with("/services/data/v53.0/query?")) return std::string(nameFields);
  if (url.starts_with("/services/data/v50.0/search/layout?")) return layouts(url, "[", searchLayoutOf, "]");
  if (url.starts_with("/services/data/v53.0/compactLayouts?")) return layouts(url, "{", compactLayoutOf, "}");
  return std::nullopt;
}

}  // namespace

std::optional<Data> answerOf(const CorvaneSDK::NetRequest& request) {
  auto body = bodyFor(request.base().url.absoluteString());
  return body ? std::optional(Data(*std::move(body))) : std::nullopt;
}

void SmallServer::sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) {
  waiting_.emplace_back(request, std::move(completion));
}

bool SmallServer::answerNext() {
  if (waiting_.empty()) return false;
  const auto [request, completion] = std::move(waiting_.front());
  waiting_.pop_front();
  const auto body = answerOf(request);
  if (!body) {
    completion(std::nullopt, std::nullopt, std::nullopt);
  } else if (request.base().headers.contains("If-None-Match")) {  // nothing ever changes here
    completion(Data(), std::nullopt, URLResponse{request.base().url.absoluteString(), 304, {{"etag", tag}}});
  } else {
    completion(
        body, std::nullopt,
        URLResponse{
            request.base().url.absoluteString(), 200, {{"etag", tag}, {"content-type", "application/json"}}});
  }
  return true;
}

}  // namespace vellora::faults
