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
  std::string owner;  ///< tells the server, and the token or the account; not to be shown or kept
};

/// Whose a cache is, the name of an account tells, and else the token. The token that a configuration names
/// is renewed, and its account stays the same: the cache is found without it.
[[nodiscard]] bool isPlacedByToken(const Arguments& arguments);

/// Tells whose a cache of those arguments and that token is; not to be shown or kept.
[[nodiscard]] std::string ownerOf(const Arguments& arguments, const std::optional<std::string>& token);

/// The cache of the arguments' server, and of that token or of their account: the file that the arguments
/// name, else one of its own in the user's cache folder.
[[nodiscard]] std::variant<CachePlace, Problem> cachePlace(const Arguments& arguments,
                                                           const std::optional<std::string>& token);

/// The same with the token of the arguments, which is asked for only where the place depends on it.
[[nodiscard]] std::variant<CachePlace, Problem> cachePlace(const Arguments& arguments);

/// Why a cache cannot be used, with the way out where the command has one.
[[nodiscard]] Problem problemOf(const Error& cacheError);

}  // namespace vellora::command
