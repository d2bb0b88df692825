#include "apps/vellora/command/CachePlace.h"

#include <utility>

#include "apps/vellora/command/DefaultCacheFile.h"
#include "hostkit/cache/sqlite/OwnCacheFile.h"
#include "hostkit/cache/sqlite/SQLiteCacheError.h"

namespace vellora::command {

namespace {

std::string ownerOf(std::string server, const std::optional<std::string>& token) {
  while (server.ends_with('/')) server.pop_back();
  return server + (token ? "\ntoken " + *token : "\nno token");
}

}  // namespace

std::variant<CachePlace, Problem> cachePlace(const Arguments& arguments,
                                             const std::optional<std::string>& token) {
  CachePlace place{arguments.cacheFile, ownerOf(arguments.server, token)};
  if (!arguments.usesDefaultCache || !token) return place;
  const auto folder = defaultCacheFolder();
  if (!folder) return noCacheFolder();
  auto file = hostkit::ownCacheFile(*folder, readableName(arguments.server), place.owner);
  if (!file) return problemOf(file.error());
  place.file = std::move(file).value();
  return place;
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
