#include "apps/records-server/Endpoints.h"

#include <algorithm>
#include <boost/json.hpp>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "apps/records-server/ErrorBody.h"
#include "apps/records-server/Icons.h"
#include "apps/records-server/QueryEngine.h"
#include "apps/records-server/QueryError.h"
#include "apps/records-server/QueryParser.h"
#include "apps/records-server/RequestTarget.h"

namespace vellora::recordsserver {
namespace {

std::vector<std::string> distinctNames(std::string_view list) {
  std::vector<std::string> names;
  std::set<std::string, std::less<>> seen;
  while (!list.empty()) {
    const auto name = list.substr(0, list.find(','));
    list.remove_prefix(std::min(list.size(), name.size() + 1));
    if (!name.empty() && seen.emplace(name).second) names.emplace_back(name);
  }
  return names;
}

Answer objectList(const std::string&, const DataSet& data) {
  return {200, data.objectList()};
}

Answer themeList(const std::string&, const DataSet& data) {
  return {200, data.themeList()};
}

void appendMember(std::string& list, const std::string& member) {
  if (list.size() > 1) list += ',';
  list += member;
}

Answer searchLayouts(const std::string& q, const DataSet& data) {
  std::string body = "[";
  for (const auto& name : distinctNames(q))
    if (const auto* layout = data.searchLayout(name)) appendMember(body, *layout);
  return {200, Data(body += ']')};
}

Answer compactLayouts(const std::string& q, const DataSet& data) {
  std::string body = "{";
  for (const auto& name : distinctNames(q))
    if (const auto* layout = data.compactLayout(name))
      appendMember(body, boost::json::serialize(boost::json::string(name)) + ":" + *layout);
  return {200, Data(body += '}')};
}

Answer queryError(const Error& error) {
  const auto* reason = error.as<QueryError>();
  return Answer::error(400, reason->message, reason->code);
}

Answer query(const std::string& q, const DataSet& data) {
  const auto statement = parseQuery(q);
  if (!statement) return queryError(statement.error());
  auto body = runQuery(statement.value(), data);
  if (!body) return queryError(body.error());
  return {200, Data(std::move(body).value())};
}

struct Endpoint {
  std::string_view path;
  bool needsQ;
  Answer (*answer)(const std::string& q, const DataSet& data);
};

constexpr Endpoint endpoints[] = {
    {"/services/data/v50.0/sobjects", false, objectList},
    {"/services/data/v50.0/query", true, query},
    {"/services/data/v50.0/theme", false, themeList},
    {"/services/data/v50.0/search/layout", true, searchLayouts},
    {"/services/data/v53.0/compactLayouts", true, compactLayouts},
    {"/services/data/v53.0/query", true, query},
};

}  // namespace

Answer Answer::error(int status, std::string_view message, std::string_view code) {
  return {status, Data(errorBody(message, code))};
}

Answer answerFor(std::string_view target, const DataSet& data) {
  const auto parsed = RequestTarget::parse(target);
  if (!parsed) return Answer::error(400, "The address is not percent-encoded well.", "BAD_REQUEST");
  if (auto icon = iconAt(parsed->path)) return {200, std::move(icon->image), std::move(icon->contentType)};
  const auto* found = std::find_if(std::begin(endpoints), std::end(endpoints),
                                   [&](const Endpoint& endpoint) { return endpoint.path == parsed->path; });
  if (found == std::end(endpoints))
    return Answer::error(404, "There is nothing at this address.", "NOT_FOUND");
  if (found->needsQ && !parsed->q)
    return Answer::error(400, "The query item \"q\" is missing.", "MISSING_ARGUMENT");
  return found->answer(parsed->q.value_or(""), data);
}

}  // namespace vellora::recordsserver
