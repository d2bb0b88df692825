#pragma once

#include <optional>
#include <string>
#include <variant>

#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/Problem.h"
#include "vellora/Platform/Values/Error.h"

namespace vellora::command {

/// The cache file of one run, and whose it is.
struct CachePlace {
  std::string file;
  std::string owner;  ///< tells the server and the token; not to be shown or kept
};

/// The cache of the arguments' server and that token: the file that the arguments name, else one of its own
/// in the user's cache folder.
[[nodiscard]] std::variant<CachePlace, Problem> cachePlace(const Arguments& arguments,
                                                           const std::optional<std::string>& token);

/// Why a cache cannot be used, with the way out where the command has one.
[[nodiscard]] Problem problemOf(const Error& cacheError);

}  // namespace vellora::command
