#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace vellora::command {

/// What stands in one place of a table: nothing, a text, a yes or no, or a number.
using Value = std::variant<std::monostate, std::string, bool, std::int64_t, double>;

/// A column of what is printed row by row.
struct Column {
  enum class Shown {
    always,
    wide,     ///< in tables only when they may be wide
    scripts,  ///< in no table, unless it is asked for
  };

  std::string name;     ///< for scripts and --columns, such as "apiName"
  std::string heading;  ///< of a table, such as "API NAME"
  Shown shown = Shown::always;
  bool isColor = false;  ///< so that a terminal shows a swatch before it
};

/// As many values as there are columns.
struct Row {
  std::vector<Value> values;
  std::size_t depth = 0;  ///< how far in a table indents its texts: the parts of something stand below it
};

/// Rows that belong together, such as the columns of one search layout.
struct RowGroup {
  std::string heading;  ///< of a table
  std::vector<Row> rows = {};
};

/// What is printed row by row, whatever the format.
struct Rows {
  std::vector<Column> columns;
  std::vector<RowGroup> groups;
  bool hasHeadings = false;  ///< whether a table tells the groups apart
  std::string ifEmpty = {};  ///< what stands below the heading of a group without rows
};

}  // namespace vellora::command
