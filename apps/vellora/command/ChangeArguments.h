#pragma once

#include <cstdint>
#include <string>

namespace vellora::command {

/// What `vellora diff` and `vellora watch` were told.
struct ChangeArguments {
  std::string before;       ///< diff: a server's name or address, a cache file, or "cache:" and a server
  std::string after;        ///< diff: the same
  double interval = 60;     ///< watch: seconds between refreshes
  std::uint64_t times = 0;  ///< watch: how many refreshes; 0 for no end
};

}  // namespace vellora::command
