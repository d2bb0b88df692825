#include "apps/vellora/changes/Side.h"

#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include "apps/vellora/command/CachePlace.h"
#include "apps/vellora/command/DefaultCacheFile.h"
#include "apps/vellora/command/Errand.h"
#include "apps/vellora/command/NamedServers.h"
#include "apps/vellora/command/Output.h"
#include "apps/vellora/command/SharedAddress.h"
#include "hostkit/cache/CacheArchive.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "hostkit/cache/sqlite/SQLiteCacheContents.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::command {

namespace {

constexpr std::string_view cacheOf = "cache:";

bool isFile(const std::string& name) {
  std::error_code failure;
  return std::filesystem::exists(name, failure);
}

/// Puts the server that `text` names into the arguments.
std::optional<Problem> chooseServer(const std::string& text, Arguments& arguments) {
  arguments.server = text;
  if (text.empty())
    return Problem{ExitCode::usage, "diff compares two servers or cache files, and one has no name"};
  if (!mayBeAName(text)) return std::nullopt;
  arguments.tokenFile.reset();
  return useNamedServer(arguments, {.theme = true, .token = false, .cache = false, .cachePassword = false});
}

std::variant<Side, Problem> openServer(const std::string& text, Arguments arguments) {
  auto session = Session::open(arguments, std::make_shared<hostkit::MemoryCache>());
  if (auto* problem = std::get_if<Problem>(&session)) return std::move(*problem);
  std::string address = arguments.server;
  return Side{.name = text,
              .arguments = std::move(arguments),
              .session = std::get<0>(std::move(session)),
              .source = Source::cacheFirst,
              .address = std::move(address),
              .searchLayouts = {},
              .compactLayouts = {}};
}

/// The names behind `prefix` among the keys of the cache's blobs.
std::set<std::string> namesBehind(std::string_view prefix, const hostkit::SQLiteCacheContents& contents) {
  std::set<std::string> names;
  for (const auto& blob : contents.blobs) {
    if (blob.data && blob.key.starts_with(prefix)) names.insert(blob.key.substr(prefix.size()));
  }
  return names;
}

/// Opens a file that was filled from the server at `address`, if that is known.
std::variant<Side, Problem> openCache(const std::string& text, const std::string& file, std::string address,
                                      Arguments arguments) {
  const auto contents = [&] {
    const Errand reading(arguments, "reading " + file);
    return hostkit::SQLiteCacheContents::read(file, now());
  }();
  if (!contents) return problemOf(contents.error());
  auto cache = std::make_shared<hostkit::MemoryCache>();
  static_cast<void>(hostkit::CacheArchive::of(contents.value()).restore(*cache));
  arguments.server = "http://localhost";  // is never asked
  arguments.tokenFile.reset();
  arguments.tokenCommand.clear();
  auto session = Session::open(arguments, std::move(cache));
  if (auto* problem = std::get_if<Problem>(&session)) return std::move(*problem);
  return Side{.name = text,
              .arguments = std::move(arguments),
              .session = std::get<0>(std::move(session)),
              .source = Source::cacheOnly,
              .address = std::move(address),
              .searchLayouts = namesBehind("OPS_Layout_", contents.value()),
              .compactLayouts = namesBehind("OPS_CompactLayout_", contents.value())};
}

/// Its entries would be read while others write: no moment at which both are as they are shown.
Problem sharedSide() {
  return {
      ExitCode::usage,
      "diff compares servers and cache files: vellora cache export writes what a Redis keeps, and vellora "
      "cache import makes a file of it"};
}

std::variant<Side, Problem> openCacheOf(const std::string& text, Arguments arguments) {
  arguments.cacheFile.clear();
  if (auto problem = chooseServer(text.substr(cacheOf.size()), arguments)) return *std::move(problem);
  if (isShared(arguments.cacheFile)) return sharedSide();
  if (!arguments.cacheFile.empty()) return openCache(text, arguments.cacheFile, arguments.server, arguments);
  const auto file = defaultCacheFile(arguments.server);
  if (!file) return noCacheFolder();
  arguments.cacheFile = *file;
  arguments.usesDefaultCache = true;
  const auto place = cachePlace(arguments);
  if (const auto* problem = std::get_if<Problem>(&place)) return *problem;
  return openCache(text, std::get<0>(place).file, arguments.server, arguments);
}

}  // namespace

std::variant<Side, Problem> openSide(const std::string& text, const Arguments& arguments) {
  if (text.starts_with(cacheOf)) return openCacheOf(text, arguments);
  if (isShared(text)) return sharedSide();
  Arguments chosen = arguments;
  auto problem = chooseServer(text, chosen);
  const bool isServer = !problem && (text.find("://") != std::string::npos || mayBeAName(text));
  if (isServer) return openServer(text, std::move(chosen));
  const bool isAddressWithoutScheme = text.find(':') != std::string::npos && !isFile(text);
  if (!problem && isAddressWithoutScheme) {
    return Problem{ExitCode::usage, "there is no file " + keyText(text) +
                                        "; the address of a server begins with https:// or http://"};
  }
  if (!problem || isFile(text)) return openCache(text, text, "", arguments);
  problem->message += ", nor a file of that name";
  return *std::move(problem);
}

}  // namespace vellora::command
