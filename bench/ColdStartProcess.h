#pragma once

#include <optional>
#include <string>
#include <vector>

#include "bench/ReadyHost.h"

namespace vellora::bench {

/// Who makes a cold start: the façade on the ready-made host, or the bare client.
enum class Starter { ours, bare };

/// A cold start, made in a process of its own, as an app makes it.
///
/// A process that has made others has memory at hand that the next one need not ask the system for. How much
/// that is depends on what came before, and weighs more than what is compared.
struct ColdStart {
  double nanoseconds = 0;
  double peakBytes = 0;  ///< by how much it raised the peak of the process's resident memory

  /// Starts the process and waits for its end; no value when it loaded nothing. A cold start of a few types
  /// goes before the measured one, so that what is made once per process doesn't count.
  [[nodiscard]] static std::optional<ColdStart> measured(Starter starter, Bodies bodies,
                                                         const std::string& server);
};

/// The flag that has the program be such a process; what `measureColdStart` takes follows it.
inline constexpr const char* measureColdStartFlag = "--measure-cold-start";

/// Makes a small cold start and the one that is measured, and writes its figures to standard output. Returns
/// the exit code for the process.
[[nodiscard]] int measureColdStart(const std::vector<std::string>& arguments);

}  // namespace vellora::bench
