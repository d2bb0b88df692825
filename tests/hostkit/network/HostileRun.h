#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace vellora::hostkit {

/// What a hostile run came to.
struct HostileTally {
  std::size_t requests = 0;
  std::size_t answers = 0;  ///< right ones
  std::size_t failures = 0;
  std::size_t cutOff = 0;                     ///< requests that were under way when the network was let go of
  std::map<std::string, std::size_t> played;  ///< how often the server played each trick
};

/// Lets eight threads send requests to a `HostileServer` over one ready-made network, and lets go of the
/// network while some are under way. Which trick each request meets follows from the seed. Adds to `tally`,
/// and gives what broke a promise first; nothing when all were kept:
///
/// - each request is completed exactly once;
/// - one that has a right answer gets it, any other an error;
/// - no error text holds the token or is longer than a line, and no other server is asked.
[[nodiscard]] std::optional<std::string> runHostileRound(std::uint64_t seed, std::size_t requestsOfAThread,
                                                         HostileTally& tally);

}  // namespace vellora::hostkit
