#pragma once

#include <cstddef>
#include <variant>
#include <vector>

#include "apps/vellora/command/OutputArguments.h"
#include "apps/vellora/command/Problem.h"
#include "apps/vellora/command/Rows.h"

namespace vellora::command {

/// Which of the columns are printed, in their order: those that were named, in either case, else those of the
/// format. A problem when one is named that there is none of.
[[nodiscard]] std::variant<std::vector<std::size_t>, Problem> chosenColumns(
    const std::vector<Column>& columns, const OutputArguments& output);

}  // namespace vellora::command
