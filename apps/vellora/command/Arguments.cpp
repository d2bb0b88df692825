#include "apps/vellora/command/Arguments.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <map>
#include <utility>

#include "apps/vellora/command/DefaultCacheFile.h"

namespace vellora::command {

namespace {

using Level = hostkit::SpdlogLogger::Level;

const std::map<std::string, Level> logLevels{
    {"off", Level::off}, {"error", Level::error}, {"info", Level::info}};

const char* const footer =
    "Exit codes: 0 every key answered, 1 unexpected, 2 usage, 3 answered but some keys have no entry,\n"
    "5 keys are missing and a request failed or the wait ran out, 7 the cache file cannot be used, "
    "is damaged, or failed\nand keys are missing, 130 interrupted.";

void addServerOptions(CLI::App& app, Arguments& arguments) {
  app.add_option("--server", arguments.server, "The records server, such as https://records.example")
      ->envname("VELLORA_SERVER")
      ->type_name("URL");
  app.add_option("--token-file", arguments.tokenFile,
                 "File with the bearer token, sent over https or to this machine; - is standard input")
      ->type_name("FILE");
  app.add_option("--theme", arguments.theme, "Theme of colours and icons")
      ->capture_default_str()
      ->type_name("NAME");
}

void addCacheOptions(CLI::App& app, Arguments& arguments) {
  app.add_option("--cache", arguments.cacheFile,
                 "Cache file; by default one for each server and token in your cache folder")
      ->type_name("FILE");
  app.add_option("--cache-timeout", arguments.cacheTimeout, "Age at which cached data expires")
      ->capture_default_str()
      ->type_name("SECONDS");
}

void addOutputOptions(CLI::App& app, Arguments& arguments) {
  app.add_option("--wait", arguments.wait, "How long to wait for the answer")
      ->capture_default_str()
      ->type_name("SECONDS");
  app.add_flag("--json", arguments.json, "Print one JSON document instead of a table");
  app.add_option("--log", arguments.logLevel, "Library log: off, error or info; off by default")
      ->transform(CLI::Transformer(logLevels))
      ->type_name("LEVEL");
  app.add_option("--log-file", arguments.logFile, "Write the log there instead of to standard error")
      ->type_name("FILE");
  app.add_flag("!--no-color", arguments.color, "Never print colours; NO_COLOR does the same");
}

CLI::App* addCommand(CLI::App& app, Arguments& arguments, const std::string& name, const std::string& help,
                     Arguments::Command command) {
  auto* sub = app.add_subcommand(name, help);
  sub->callback([&arguments, command] { arguments.command = command; });
  return sub->fallthrough();
}

void addLookups(CLI::App& app, Arguments& arguments) {
  using Command = Arguments::Command;
  const std::string orInput = "; - reads them from standard input, one a line";
  const std::string names = "API names of object types" + orInput;
  addCommand(app, arguments, "ids", "Label, colour and icons of the types of records", Command::ids)
      ->add_option("ID", arguments.keys, "Record ids" + orInput)
      ->required();
  addCommand(app, arguments, "names", "Label, colour and icons of object types", Command::names)
      ->add_option("NAME", arguments.keys, names)
      ->required();
  addCommand(app, arguments, "search-layouts", "Columns that search results of object types show",
             Command::searchLayouts)
      ->add_option("NAME", arguments.keys, names)
      ->required();
  addCommand(app, arguments, "compact-layouts", "Headline fields of object types", Command::compactLayouts)
      ->add_option("NAME", arguments.keys, names)
      ->required();
}

CLI::App* addAction(CLI::App& group, CacheArguments& cache, const std::string& name, const std::string& help,
                    CacheArguments::Action action) {
  auto* sub = group.add_subcommand(name, help);
  sub->callback([&cache, action] { cache.action = action; });
  return sub->fallthrough();
}

void addActionsOnEntries(CLI::App& group, CacheArguments& cache) {
  using Action = CacheArguments::Action;
  addAction(group, cache, "ls", "What is in the file, how large, how old, fresh or expired", Action::list);
  addAction(group, cache, "show", "What entries hold", Action::show)
      ->add_option("ENTRY", cache.entries, "Entries, as ls names them")
      ->required();
  addAction(group, cache, "verify", "Whether anything in the file is damaged", Action::verify);
  auto* purge = addAction(group, cache, "purge", "Deletes entries", Action::purge);
  purge->add_option("ENTRY", cache.entries, "Entries to delete, as ls names them");
  purge->add_flag("--expired", cache.expired, "Delete all that is expired, outdated or damaged");
  purge->add_flag("--all", cache.all, "Delete everything");
  addAction(group, cache, "delete", "Deletes the file itself, with all that was kept beside it",
            Action::deleteFile);
}

void addTransfers(CLI::App& group, CacheArguments& cache) {
  using Action = CacheArguments::Action;
  auto* exporting =
      addAction(group, cache, "export", "Writes the entries as a text that import reads", Action::exportTo);
  exporting->add_option("FILE", cache.file, "Where to; - is standard output")->capture_default_str();
  exporting->add_flag("--replace", cache.replace, "Write over an existing file");
  auto* importing =
      addAction(group, cache, "import", "Stores the entries of an exported text", Action::importFrom);
  importing->add_option("FILE", cache.file, "Where from; - is standard input")->required();
  importing->add_flag("--replace", cache.replace, "Write over entries that are in the cache already");
  importing->add_flag("--fresh", cache.fresh, "Store them as if they had been fetched now");
}

void addCommands(CLI::App& app, Arguments& arguments) {
  using Command = Arguments::Command;
  app.require_subcommand(1);
  addLookups(app, arguments);
  addCommand(app, arguments, "status", "How far loading has got, and how old the caches are",
             Command::status);
  addCommand(app, arguments, "explore", "Shows all of it on a web page, for a browser on this machine",
             Command::explore)
      ->add_option("--port", arguments.port, "Serve the page on this port; by default on a free one")
      ->type_name("PORT");
  auto* cache = addCommand(app, arguments, "cache", "Looks into a cache file, empties, ships and fills it",
                           Command::cache);
  cache->require_subcommand(1);
  addActionsOnEntries(*cache, arguments.cache);
  addTransfers(*cache, arguments.cache);
}

std::optional<std::string> complaintAboutCache(const Arguments& arguments) {
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

std::optional<std::string> complaintAbout(const Arguments& arguments) {
  if (arguments.command == Arguments::Command::cache) {
    if (const auto complaint = complaintAboutCache(arguments)) return complaint;
  } else if (arguments.server.empty()) {
    return "no server: give --server URL or set VELLORA_SERVER";
  }
  if (!(arguments.cacheTimeout >= 0)) return "--cache-timeout must be a number of seconds, 0 or more";
  if (!(arguments.wait > 0)) return "--wait must be a number of seconds above 0";
  if (arguments.readsKeys() && arguments.tokenFile == "-") {
    return "standard input cannot give both the token and the keys: put the token into a file";
  }
  return std::nullopt;
}

// The command that was named last: `purge` of "cache purge".
const CLI::App& innermost(const CLI::App& app) {
  const auto named = app.get_subcommands();
  return named.empty() ? app : innermost(*named.front());
}

Problem usage(const std::string& what) {
  return {ExitCode::usage, what + "; see vellora --help"};
}

using Parsed = std::variant<Arguments, HelpText, Problem>;

/// Reads the words into the variables that `app` knows; what is to be said instead, if anything.
std::optional<Parsed> parse(CLI::App& app, int argc, const char* const* argv) {
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    return HelpText{innermost(app).help()};
  } catch (const CLI::CallForVersion& version) {
    return HelpText{std::string(version.what()) + "\n"};
  } catch (const CLI::Error& error) {
    const auto unknown = app.remaining();
    const bool hasCommand = !app.get_subcommands().empty();
    return usage(hasCommand || unknown.empty() ? error.what() : "there is no command " + unknown.front());
  }
  return std::nullopt;
}

Parsed checked(Arguments arguments) {
  if (const auto complaint = complaintAbout(arguments)) return usage(*complaint);
  if (arguments.cacheFile.empty()) {
    const auto file = defaultCacheFile(arguments.server);
    if (!file) return usage(noCacheFolder().message);
    arguments.cacheFile = *file;
    arguments.usesDefaultCache = true;
  }
  return arguments;
}

}  // namespace

std::variant<Arguments, HelpText, Problem> parseArguments(int argc, const char* const* argv) {
  Arguments arguments;
  CLI::App app("Looks at the metadata of a business-records server.", "vellora");
  app.set_version_flag("--version", "vellora " VELLORA_VERSION);
  app.footer(footer);
  addServerOptions(app, arguments);
  addCacheOptions(app, arguments);
  addOutputOptions(app, arguments);
  addCommands(app, arguments);
  if (auto instead = parse(app, argc, argv)) return *std::move(instead);
  return checked(std::move(arguments));
}

}  // namespace vellora::command
