#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "apps/vellora/command/Output.h"
#include "apps/vellora/command/OutputArguments.h"
#include "apps/vellora/command/Rows.h"

namespace vellora::command {

/// The `chosen` columns of `rows` as a table for people, cut to `mostColumns` of a terminal where that is
/// given. Without rows and headings there is no text.
[[nodiscard]] std::string tableText(const Rows& rows, const std::vector<std::size_t>& chosen,
                                    const Style& style, std::optional<std::size_t> mostColumns);

/// The same as CSV (RFC 4180, with plain line ends), TSV or a JSON object a line; the first two begin with
/// the columns' names. An absent value is empty, and left out of an object. Line breaks within a value, tabs
/// and what else drives a terminal are escaped as in log lines, so that each row is one line.
[[nodiscard]] std::string scriptText(const Rows& rows, const std::vector<std::size_t>& chosen, Format format);

/// The one of the two that the arguments ask for; a table is cut to the terminal unless it may be wide.
[[nodiscard]] std::string rowText(const Rows& rows, const std::vector<std::size_t>& chosen,
                                  const OutputArguments& output);

}  // namespace vellora::command
