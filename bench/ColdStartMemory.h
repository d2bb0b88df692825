#pragma once

#include <string>

namespace vellora::bench {

/// Has the program measure one cold start in place of everything else; followed by the two addresses.
inline constexpr const char* measureColdStartFlag = "--measure-cold-start";

/// Writes to standard output by how many bytes a cold start against `server` raises the process's resident
/// memory at its peak. A cold start against `small` goes before it, so that what is loaded and made once per
/// process doesn't count. Gives the process's exit code.
[[nodiscard]] int measureColdStart(const std::string& small, const std::string& server);

}  // namespace vellora::bench
