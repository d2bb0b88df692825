#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vellora::command {

/// In which form a command prints what it found.
enum class Format {
  table,  ///< for people
  json,   ///< one document: what was found, what is missing and why, and how old it is
  csv,    ///< a row a line, values behind commas
  tsv,    ///< a row a line, values behind tabs
  jsonl,  ///< a JSON object a line
};

/// When colours are printed.
enum class Coloring {
  automatic,  ///< on a terminal that has them, unless NO_COLOR is set
  always,
  never,
};

/// What the command says on standard error.
enum class Talk {
  quiet,    ///< nothing but why the command could not be run
  plain,    ///< also what is missing or old, and why
  verbose,  ///< also each request, and where the answer came from
};

/// What the command was told of its output.
struct OutputArguments {
  std::optional<Format> format;      ///< absent where none was told: a table
  std::vector<std::string> columns;  ///< in this order; empty for those of the format
  bool wide = false;                 ///< all columns in a table
  Coloring color = Coloring::automatic;
  Talk talk = Talk::plain;

  [[nodiscard]] bool prints(Format wanted) const { return format.value_or(Format::table) == wanted; }
};

}  // namespace vellora::command
