#pragma once

#include <string>
#include <string_view>

namespace vellora::hostkit {

/// `message` as one line that cannot drive a terminal: control characters and bytes that are not UTF-8 are
/// written as escapes (`\n`, `\x1b`, `\u0085`), everything else as it is. A backslash is left alone, since
/// log lines are for people and hold paths and patterns; so the result cannot be turned back for certain.
[[nodiscard]] std::string escapedLogText(std::string_view message);

}  // namespace vellora::hostkit
