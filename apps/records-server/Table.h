#pragma once

#include <string>
#include <variant>
#include <vector>

namespace vellora::recordsserver {

/// One value of a row: nothing (null), a boolean or a text.
using FieldValue = std::variant<std::monostate, bool, std::string>;

/// A field that queries can name. The path of a related record's field has a dot in it.
struct Column {
  enum class Type { text, boolean };

  std::string path;
  Type type = Type::text;
};

/// One row; its values stand in the order of the table's columns.
struct TableRow {
  std::string url;
  std::vector<FieldValue> values;
};

/// What a query selects from.
struct Table {
  std::string name;
  std::vector<Column> columns;
  std::vector<TableRow> rows;
};

}  // namespace vellora::recordsserver
