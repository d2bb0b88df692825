#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "apps/records-server/Table.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::recordsserver {

/// One condition: the field's value is one of these.
struct QueryCondition {
  std::string path;
  std::set<FieldValue> anyOf;

  friend bool operator==(const QueryCondition&, const QueryCondition&) = default;
};

/// A query, read. All conditions must hold; without any, every row is selected.
struct QueryStatement {
  std::vector<std::string> fields;
  std::string object;
  std::vector<QueryCondition> conditions;

  friend bool operator==(const QueryStatement&, const QueryStatement&) = default;
};

/// Reads a query of the form
///
///     SELECT path, path FROM object [WHERE condition [AND condition]…]
///
/// where a condition is `path = literal` or `path IN (literal, literal)`, a literal is a string in single
/// quotes, `true`, `false` or `null`, and a path is names joined by dots. The case of keywords doesn't
/// matter. Names are read, not looked up: whether they exist is for the evaluation to say.
///
/// Errors: a `QueryError` "BAD_QUERY" that tells the position.
[[nodiscard]] Result<QueryStatement> parseQuery(std::string_view text);

}  // namespace vellora::recordsserver
