#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "apps/vellora/command/Problem.h"

namespace vellora::command {

/// Writes a file, and gives it its name once it is complete. A file that has the name stays, unless
/// `replace`: then a plain file is replaced, with its mode kept; a link, a device or anything else never is.
/// Returns the problem that stood in the way; no value when the file is written.
///
/// On a disk without hard links, a file that another process makes between the check of the name and the
/// renaming is replaced.
[[nodiscard]] std::optional<Problem> writeWholeFile(const std::string& file, std::string_view content,
                                                    bool replace);

}  // namespace vellora::command
