#include "apps/vellora/command/CachePlace.h"

#include <utility>

#include "apps/vellora/command/DefaultCacheFile.h"
#include "apps/vellora/command/Token.h"
#include "hostkit/cache/sqlite/OwnCacheFile.h"
#include "hostkit/cache/sqlite/SQLiteCacheError.h"

namespace vellora::command {

bool isPlacedByToken(const Arguments& arguments) {
  return arguments.account.empty();
}

std::string ownerOf(const Arguments& arguments, const std::optional<std::string>& token) {
  std::string server = arguments.server;
  while (server.ends_with('/')) server.pop_back();
  if (!isPlacedByToken(arguments)) return server + "\nname " + arguments.account;
  return server + (token ? "\ntoken " + *token : "\nno token");
}

std::variant<CachePlace, Problem> cachePlace(const Arguments& arguments,
                                             const std::optional<std::string>& token) {
  CachePlace place{arguments.cacheFile, ownerOf(arguments, token)};
  const bool isOfNobody = isPlacedByToken(arguments) && !token;
  if (!arguments.usesDefaultCache || isOfNobody) return place;
  const auto folder = defaultCacheFolder();
  if (!folder) return noCacheFolder();
  auto file = hostkit::ownCacheFile(*folder, readableName(arguments.server), place.owner);
  if (!file) return problemOf(file.error());
  place.file = std::move(file).value();
  return place;
}

std::variant<CachePlace, Problem> cachePlace(const Arguments& arguments) {
  if (!isPlacedByToken(arguments)) return cachePlace(arguments, std::nullopt);
  auto token = tokenOf(arguments);
  if (auto* problem = std::get_if<Problem>(&token)) return std::move(*problem);
  return cachePlace(arguments, std::get<0>(token));
}

Problem problemOf(const Error& cacheError) {
  Problem problem{ExitCode::cacheUnusable, cacheError.localizedDescription()};
  const auto* error = cacheError.as<hostkit::SQLiteCacheError>();
  if (error != nullptr && error->reason == hostkit::SQLiteCacheError::Reason::otherOwner) {
    problem.message += " vellora cache delete --cache " + error->path + " deletes it";
  }
  return problem;
}

}  // namespace vellora::command
