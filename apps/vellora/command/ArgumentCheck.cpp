#include "apps/vellora/command/ArgumentCheck.h"

#include "apps/vellora/command/SharedAddress.h"

namespace vellora::command {

namespace {

using Action = CacheArguments::Action;
using Command = Arguments::Command;

const char* const ofNobody =
    "a Redis keeps a cache for each server and token: give --server URL to say which, also with --offline";

std::optional<std::string> complaintAboutCache(const Arguments& arguments) {
  if (arguments.cache.action == Action::list && arguments.cache.all && !arguments.cacheFile.empty())
    return "ls --all lists the files that are kept by default: leave out --cache";
  if (arguments.cache.everyFile && !arguments.cache.entries.empty()) {
    return "entries are deleted in one file: name it with --cache FILE, or by the --server URL whose default "
           "cache it is, and leave out --all";
  }
  if (arguments.cache.everyFile) return std::nullopt;
  if (needsServer(arguments) && isShared(arguments.cacheFile) && arguments.server.empty()) return ofNobody;
  if (arguments.cacheFile.empty() && arguments.server.empty()) {
    return "no cache file: give --cache FILE, or the --server URL whose default cache it is";
  }
  const auto& cache = arguments.cache;
  if (cache.action == CacheArguments::Action::importFrom && cache.file == "-" &&
      arguments.readsCachePassword()) {
    return "standard input cannot give both the password and the entries: put the password into a file";
  }
  const int ways = (cache.entries.empty() ? 0 : 1) + (cache.expired ? 1 : 0) + (cache.all ? 1 : 0);
  if (cache.action == CacheArguments::Action::purge && ways != 1) {
    return "say what to delete: entries, --expired or --all";
  }
  if (cache.action == CacheArguments::Action::importFrom && cache.file == "-" && arguments.tokenFile == "-") {
    return "standard input cannot give both the token and the entries: put the token into a file";
  }
  return std::nullopt;
}

bool isOffline(const Arguments& arguments) {
  return arguments.source == Source::cacheOnly;
}

std::optional<std::string> complaintAboutOutput(const Arguments& arguments) {
  if (arguments.json && arguments.output.format) return "--json and --output contradict each other: give one";
  if (!hasFormat(arguments))
    return "this command prints a table or JSON: give --output table or --output json";
  if (!hasColumns(arguments))
    return "--columns chooses among those of table, csv, tsv and jsonl, which are not printed here";
  return std::nullopt;
}

std::optional<std::string> complaintAboutPlace(const Arguments& arguments) {
  if (isAddress(arguments.cacheFile) && !isShared(arguments.cacheFile))
    return "--cache takes a file, or the address of a Redis: redis://, rediss:// or redis+unix://";
  if (arguments.command == Command::cache) return complaintAboutCache(arguments);
  const bool isOfServers = arguments.command == Command::watch || arguments.command == Command::diff;
  if (isOfServers && isOffline(arguments)) return "this command asks servers: leave --offline out";
  if (!needsServer(arguments) || !arguments.server.empty()) return std::nullopt;
  if (isOffline(arguments) && isShared(arguments.cacheFile)) return ofNobody;
  if (isOffline(arguments) && arguments.command != Command::explore)
    return "no cache file: give --cache FILE, or the --server URL whose default cache it is";
  return "no server: give --server URL or set VELLORA_SERVER";
}

std::optional<std::string> complaintAboutInput(const Arguments& arguments) {
  if (arguments.readsKeys() && arguments.tokenFile == "-")
    return "standard input cannot give both the token and the keys: put the token into a file";
  if (arguments.readsCachePassword() && (arguments.readsKeys() || arguments.tokenFile == "-"))
    return "standard input gives one thing only: put the password of the cache into a file";
  return std::nullopt;
}

std::optional<std::string> complaintAboutNumbers(const Arguments& arguments) {
  if (!(arguments.cacheTimeout >= 0)) return "--cache-timeout must be a number of seconds, 0 or more";
  if (!(arguments.changes.interval >= 0)) return "--interval must be a number of seconds, 0 or more";
  if (!(arguments.wait > 0)) return "--wait must be a number of seconds above 0";
  return std::nullopt;
}

}  // namespace

bool needsServer(const Arguments& arguments) {
  const bool hasFile = !arguments.cacheFile.empty() && !isShared(arguments.cacheFile);
  if (arguments.command == Command::cache) return !hasFile && !arguments.cache.everyFile;
  const bool isInFile = isOffline(arguments) && arguments.server.empty() && hasFile;
  if (isInFile && arguments.command != Command::explore) return false;
  return arguments.command != Command::diff && arguments.command != Command::completion;
}

bool printsRows(const Arguments& arguments) {
  switch (arguments.command) {
    case Command::ids:
    case Command::names:
    case Command::list:
    case Command::searchLayouts:
    case Command::compactLayouts:
    case Command::diff:
      return true;
    case Command::cache:
      return arguments.cache.action == Action::list && !arguments.cache.names;
    default:
      return false;
  }
}

bool hasFormat(const Arguments& arguments) {
  const auto& output = arguments.output;
  const bool isOfWatch = arguments.command == Command::watch && output.prints(Format::jsonl);
  return arguments.printsDocument() || output.prints(Format::table) || isOfWatch || printsRows(arguments);
}

bool hasColumns(const Arguments& arguments) {
  return arguments.output.columns.empty() || (!arguments.printsDocument() && printsRows(arguments));
}

bool isAboutEveryFile(const Arguments& arguments) {
  const auto& cache = arguments.cache;
  if (arguments.command != Command::cache || !cache.all || !arguments.cacheFile.empty()) return false;
  return cache.action == Action::list || (cache.action == Action::purge && arguments.server.empty());
}

std::optional<std::string> complaintAbout(const Arguments& arguments) {
  for (const auto complaint :
       {complaintAboutPlace, complaintAboutNumbers, complaintAboutInput, complaintAboutOutput}) {
    if (auto text = complaint(arguments)) return text;
  }
  return std::nullopt;
}

}  // namespace vellora::command
