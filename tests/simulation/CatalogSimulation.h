#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tests/simulation/Simulation.h"

namespace vellora::simulation {

/// The same for catalogues: one or two on one cache, questions of all kinds and every way to wait, deadlines
/// that come at any step, cancellations, stops, refreshes, sign-outs and releases.
///
/// Returns the first breach of the contract, no value when there is none. Prints each step when `traced`.
/// Adds to `tally`, where a lookup is a question.
[[nodiscard]] std::optional<std::string> simulateCatalogs(std::uint64_t seed, bool traced, Tally& tally);

}  // namespace vellora::simulation
