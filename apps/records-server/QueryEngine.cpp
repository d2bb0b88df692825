#include "apps/records-server/QueryEngine.h"

#include <algorithm>
#include <boost/json.hpp>
#include <cstddef>
#include <optional>
#include <utility>

#include "apps/records-server/QueryError.h"
#include "vellora/Platform/Text/AsciiCase.h"

namespace vellora::recordsserver {
namespace {

namespace json = boost::json;

std::optional<std::size_t> columnIndex(const Table& table, const std::string& path) {
  const auto found = std::find_if(table.columns.begin(), table.columns.end(), [&path](const Column& column) {
    return equalIgnoringAsciiCase(column.path, path);
  });
  if (found == table.columns.end()) return std::nullopt;
  return static_cast<std::size_t>(found - table.columns.begin());
}

Error noSuchField(const Table& table, const std::string& path) {
  return QueryError{"UNKNOWN_FIELD", "no field '" + path + "' on '" + table.name + "'"};
}

bool comparable(const Column& column, const FieldValue& literal) {
  if (std::holds_alternative<std::monostate>(literal)) return true;
  return std::holds_alternative<bool>(literal) == (column.type == Column::Type::boolean);
}

/// A query with its names looked up.
struct Plan {
  std::vector<std::size_t> fields;
  std::vector<std::pair<std::size_t, const std::set<FieldValue>*>> conditions;
};

Result<Plan> planFor(const QueryStatement& query, const Table& table) {
  Plan plan;
  for (const auto& field : query.fields) {
    const auto index = columnIndex(table, field);
    if (!index) return noSuchField(table, field);
    plan.fields.push_back(*index);
  }
  for (const auto& condition : query.conditions) {
    const auto index = columnIndex(table, condition.path);
    if (!index) return noSuchField(table, condition.path);
    const auto& column = table.columns[*index];
    for (const auto& literal : condition.anyOf)
      if (!comparable(column, literal))
        return Error(QueryError{"UNKNOWN_FIELD", "'" + column.path + "' is compared with another type"});
    plan.conditions.emplace_back(*index, &condition.anyOf);
  }
  return plan;
}

bool matches(const Plan& plan, const TableRow& row) {
  return std::all_of(plan.conditions.begin(), plan.conditions.end(), [&row](const auto& condition) {
    return condition.second->contains(row.values[condition.first]);
  });
}

json::value jsonValue(const FieldValue& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return json::string(*text);
  if (const auto* flag = std::get_if<bool>(&value)) return *flag;
  return nullptr;
}

// A path "Related.Field" becomes an object "Related", with an "about" of its own, that holds "Field".
void setField(json::object& record, std::string_view path, json::value value) {
  const auto dot = path.find('.');
  if (dot == std::string_view::npos) {
    record[path] = std::move(value);
    return;
  }
  const auto related = path.substr(0, dot);
  auto& child = record[related];
  if (!child.is_object()) child = {{"about", {{"type", json::string(related)}}}};
  setField(child.get_object(), path.substr(dot + 1), std::move(value));
}

json::object recordOf(const Table& table, const Plan& plan, const TableRow& row) {
  json::object record{{"about", {{"type", table.name}, {"url", row.url}}}};
  for (const auto field : plan.fields)
    setField(record, table.columns[field].path, jsonValue(row.values[field]));
  return record;
}

}  // namespace

Result<std::string> runQuery(const QueryStatement& query, const DataSet& data) {
  const auto* table = data.table(query.object);
  if (!table) return Error(QueryError{"UNKNOWN_TYPE", "no object '" + query.object + "' can be queried"});
  const auto plan = planFor(query, *table);
  if (!plan) return plan.error();
  json::array records;
  for (const auto& row : table->rows)
    if (matches(plan.value(), row)) records.push_back(recordOf(*table, plan.value(), row));
  const auto count = records.size();
  return json::serialize(json::object{{"count", count}, {"complete", true}, {"records", std::move(records)}});
}

}  // namespace vellora::recordsserver
