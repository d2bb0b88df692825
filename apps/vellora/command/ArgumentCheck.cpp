#include "apps/vellora/command/ArgumentCheck.h"

namespace vellora::command {

namespace {

using Action = CacheArguments::Action;
using Command = Arguments::Command;

std::optional<std::string> complaintAboutCache(const Arguments& arguments) {
  if (arguments.cache.action == Action::list && arguments.cache.all && !arguments.cacheFile.empty())
    return "ls --all lists the files that are kept by default: leave out --cache";
  if (arguments.cache.everyFile) return std::nullopt;
  if (arguments.cacheFile.empty() && arguments.server.empty()) {
    return "no cache file: give --cache FILE, or the --server URL whose default cache it is";
  }
  const auto& cache = arguments.cache;
  const int ways = (cache.entries.empty() ? 0 : 1) + (cache.expired ? 1 : 0) + (cache.all ? 1 : 0);
  if (cache.action == CacheArguments::Action::purge && ways != 1) {
    return "say what to delete: entries, --expired or --all";
  }
  if (cache.action == CacheArguments::Action::importFrom && cache.file == "-" && arguments.tokenFile == "-") {
    return "standard input cannot give both the token and the entries: put the token into a file";
  }
  return std::nullopt;
}

}  // namespace

bool needsServer(const Arguments& arguments) {
  if (arguments.command == Command::cache) return arguments.cacheFile.empty() && !arguments.cache.everyFile;
  return arguments.command != Command::diff && arguments.command != Command::completion;
}

bool isAboutEveryFile(const Arguments& arguments) {
  const auto& cache = arguments.cache;
  if (arguments.command != Command::cache || !cache.all || !arguments.cacheFile.empty()) return false;
  return cache.action == Action::list || (cache.action == Action::purge && arguments.server.empty());
}

std::optional<std::string> complaintAbout(const Arguments& arguments) {
  if (arguments.command == Arguments::Command::cache) {
    if (const auto complaint = complaintAboutCache(arguments)) return complaint;
  } else if (needsServer(arguments) && arguments.server.empty()) {
    return "no server: give --server URL or set VELLORA_SERVER";
  }
  if (!(arguments.cacheTimeout >= 0)) return "--cache-timeout must be a number of seconds, 0 or more";
  if (!(arguments.changes.interval >= 0)) return "--interval must be a number of seconds, 0 or more";
  if (!(arguments.wait > 0)) return "--wait must be a number of seconds above 0";
  if (arguments.readsKeys() && arguments.tokenFile == "-") {
    return "standard input cannot give both the token and the keys: put the token into a file";
  }
  return std::nullopt;
}

}  // namespace vellora::command
