#pragma once

#include <array>
#include <string>

#include "vellora/Platform/Values/Result.h"

namespace vellora::fleet {

/// What one request costs the server.
///
/// Units: bytes on the wire, heads included; seconds of processor time.
struct Cost {
  double requestBytes = 0;
  double answerBytes = 0;
  double processor = 0;
};

/// How many lists an app fetches: object types and themes.
inline constexpr std::size_t listCount = 2;

/// What each kind of request costs, as it was measured.
///
/// Ownership: a plain value.
struct Costs {
  std::array<Cost, listCount> lists = {};      ///< the whole of a list: object types, themes
  std::array<Cost, listCount> packed = {};     ///< the same from a server that packs it
  std::array<Cost, listCount> unchanged = {};  ///< that a list has not changed, in place of the list
  Cost refused = {};                           ///< a status of 503

  /// Reads a file as `bench/fleet/costs.toml` is one. Fails where a number is missing or negative, and names
  /// it.
  [[nodiscard]] static Result<Costs> read(const std::string& file);
};

}  // namespace vellora::fleet
