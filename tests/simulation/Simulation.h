#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace vellora::simulation {

/// What runs went through.
struct Tally {
  std::size_t lookups = 0;
  std::size_t answers = 0;
  std::size_t requests = 0;
  std::size_t faultyAnswers = 0;
  std::size_t steps = 0;
};

/// Runs the library, its host, the server and the clock through everything that one seed draws, on this
/// thread: façades and services on one cache, lookups of all kinds, which piece of work is next, when which
/// request is answered and how, faults of the cache, jumps of the clock, and releases at any step. No value
/// when all of it went as the contract has it, else what did not. With `traced`, each step is printed. Adds
/// to `tally`.
[[nodiscard]] std::optional<std::string> simulate(std::uint64_t seed, bool traced, Tally& tally);

}  // namespace vellora::simulation
