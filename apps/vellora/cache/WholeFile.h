#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "apps/vellora/command/Problem.h"

namespace vellora::command {

/// Writes a file that is complete when it gets its name. Whatever has that name already stays, unless
/// `replace` says otherwise; a plain file is then replaced by one of its mode, a link, a device or anything
/// else never. The problem that stood in the way; no value when the file is written.
///
/// A disk without hard links leaves a moment between looking and naming: there, what another process names so
/// at that moment is replaced.
[[nodiscard]] std::optional<Problem> writeWholeFile(const std::string& file, std::string_view content,
                                                    bool replace);

}  // namespace vellora::command
