#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "apps/vellora/changes/Difference.h"
#include "apps/vellora/command/OutputArguments.h"
#include "apps/vellora/command/Rows.h"

namespace vellora::command {

/// What is told of a property that has changed.
[[nodiscard]] const std::vector<Column>& differenceColumns();

/// A line for each property that has changed, and one for each other difference, with the `chosen` columns:
/// as a table, or what else `output` asks for. A table without differences is no text.
[[nodiscard]] std::string differenceText(const std::vector<Difference>& differences,
                                         const std::vector<std::size_t>& chosen,
                                         const OutputArguments& output);

}  // namespace vellora::command
