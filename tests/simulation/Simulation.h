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

/// Runs the library, its host, the server and the clock on this thread, through everything that one seed
/// draws: façades and services on one cache, lookups of all kinds, which piece of work runs next, when and
/// how a request is answered, faults of the cache, jumps of the clock, and releases at any step.
///
/// Returns the first breach of the contract, no value when there is none. Prints each step when `traced`.
/// Adds to `tally`.
[[nodiscard]] std::optional<std::string> simulate(std::uint64_t seed, bool traced, Tally& tally);

}  // namespace vellora::simulation
