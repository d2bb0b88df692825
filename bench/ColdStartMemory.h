#pragma once

#include <string>

#include "bench/ReadyHost.h"

namespace vellora::bench {

/// The flag that has the program measure one cold start and nothing else. The two server addresses follow it,
/// and whether bodies are kept, as `addColdStartMemory` says it.
inline constexpr const char* measureColdStartFlag = "--measure-cold-start";

/// Measures by how many bytes a cold start against `server` raises the peak of the process's resident memory,
/// and writes that number to standard output. A cold start against `small` goes before it, so that what is
/// made once per process doesn't count. Returns the exit code for the process.
[[nodiscard]] int measureColdStart(const std::string& small, const std::string& server,
                                   const std::string& bodies);

}  // namespace vellora::bench
