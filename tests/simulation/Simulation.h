#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vellora::simulation {

/// Runs the library, its host, the server and the clock through everything that one seed draws, on this
/// thread: façades and services on one cache, lookups of all kinds, which piece of work is next, when which
/// request is answered and how, faults of the cache, jumps of the clock, and releases at any step. No value
/// when all of it went as the contract has it, else what did not. With `traced`, each step is printed.
[[nodiscard]] std::optional<std::string> simulate(std::uint64_t seed, bool traced);

}  // namespace vellora::simulation
