#include "apps/vellora/command/Commands.h"

#include <CLI/CLI.hpp>
#include <string>

#include "apps/vellora/command/OptionText.h"

namespace vellora::command {

namespace {

const char* const exitCodesOfWatch =
    "Exit codes: 0 Ctrl-C, or the last of --times went well, 1 unexpected, 2 usage,\n"
    "5 the last of --times failed, 7 the cache file cannot be used.";

const char* const exitCodesOfDiff =
    "Exit codes: 0 both are alike, 1 they differ, or unexpected, 2 usage, 5 something\n"
    "could not be asked, 7 a cache file cannot be used, 130 interrupted.";

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
  addCommand(app, arguments, "list", "All object types, or those that a text finds", Command::list)
      ->add_option("TEXT", arguments.keys,
                   "Words, each of which stands in the label, the plural or the API name");
  addCommand(app, arguments, "search-layouts", "Columns that search results of object types show",
             Command::searchLayouts)
      ->add_option("NAME", arguments.keys, names)
      ->required();
  addCommand(app, arguments, "compact-layouts", "Headline fields of object types", Command::compactLayouts)
      ->add_option("NAME", arguments.keys, names)
      ->required();
}

void addChanges(CLI::App& app, Arguments& arguments) {
  using Command = Arguments::Command;
  auto& changes = arguments.changes;
  auto* watching = addCommand(app, arguments, "watch",
                              "Refreshes again and again, and shows what has changed", Command::watch);
  watching->add_option(
      "KEY", arguments.keys,
      "API names of object types, or ids of their records, whose layouts are watched, too; - reads "
      "them from standard input, one a line; by default all types");
  watching->add_option("--interval", changes.interval, "Time between two refreshes")
      ->check(aNumber())
      ->capture_default_str()
      ->type_name("SECONDS");
  watching->add_option("--times", changes.times, "End after so many refreshes; by default never")
      ->check(aCount())
      ->type_name("NUMBER");
  watching->footer(exitCodesOfWatch);
  auto* comparing =
      addCommand(app, arguments, "diff",
                 "Compares the types and layouts of two servers or cache files; exits with 1 when they "
                 "differ",
                 Command::diff);
  const std::string side =
      ": a server, its name in the configuration, a cache file, or cache:SERVER for the one kept by default";
  comparing->add_option("BEFORE", changes.before, "What is compared" + side)->required();
  comparing->add_option("AFTER", changes.after, "What it is compared with" + side)->required();
  comparing->footer(exitCodesOfDiff);
}

CLI::App* addAction(CLI::App& group, CacheArguments& cache, const std::string& name, const std::string& help,
                    CacheArguments::Action action) {
  auto* sub = group.add_subcommand(name, help);
  sub->callback([&cache, action] { cache.action = action; });
  return sub->fallthrough();
}

void addActionsOnEntries(CLI::App& group, CacheArguments& cache) {
  using Action = CacheArguments::Action;
  auto* listing = addAction(group, cache, "ls", "What is in the file, how large, how old, fresh or expired",
                            Action::list);
  listing->add_flag("--all", cache.all, "List every file that is kept by default")->disable_flag_override();
  listing->add_flag("--names", cache.names, "Print the names of the entries alone, one a line")
      ->disable_flag_override();
  addAction(group, cache, "show", "What entries hold", Action::show)
      ->add_option("ENTRY", cache.entries, "Entries, as ls names them, such as type/Account")
      ->required();
  addAction(group, cache, "verify", "Whether anything in the file is damaged", Action::verify);
  auto* purge = addAction(group, cache, "purge", "Deletes entries", Action::purge);
  purge->add_option("ENTRY", cache.entries, "Entries to delete, as ls names them, such as layout/Account");
  purge
      ->add_flag("--expired", cache.expired,
                 "Delete all that is expired, outdated or damaged; with --all in every file that is kept by "
                 "default")
      ->disable_flag_override();
  purge
      ->add_flag(
          "--all", cache.all,
          "Delete everything: in the file of --cache or --server, or, where neither is given, in every "
          "file that is kept by default")
      ->disable_flag_override();
  addAction(group, cache, "delete", "Deletes the file itself, with all that was kept beside it",
            Action::deleteFile);
}

void addTransfers(CLI::App& group, CacheArguments& cache) {
  using Action = CacheArguments::Action;
  auto* exporting =
      addAction(group, cache, "export", "Writes the entries as a text that import reads", Action::exportTo);
  exporting->add_option("FILE", cache.file, "Where to; - is standard output")->capture_default_str();
  exporting->add_flag("--replace", cache.replace, "Write over an existing file")->disable_flag_override();
  auto* importing =
      addAction(group, cache, "import", "Stores the entries of an exported text", Action::importFrom);
  importing->add_option("FILE", cache.file, "Where from; - is standard input")->required();
  importing->add_flag("--replace", cache.replace, "Write over entries that are in the cache already")
      ->disable_flag_override();
  importing->add_flag("--fresh", cache.fresh, "Store them as if they had been fetched now")
      ->disable_flag_override();
}

}  // namespace

void addCommands(CLI::App& app, Arguments& arguments) {
  using Command = Arguments::Command;
  app.require_subcommand(1);
  addLookups(app, arguments);
  addChanges(app, arguments);
  addCommand(app, arguments, "status", "How far loading has got, and how old the caches are",
             Command::status);
  addCommand(app, arguments, "explore", "Shows all of it on a web page, for a browser on this machine",
             Command::explore)
      ->add_option("--port", arguments.port, "Serve the page on this port; by default on a free one")
      ->check(aPort())
      ->type_name("PORT");
  auto* cache = addCommand(app, arguments, "cache", "Looks into a cache file, empties, ships and fills it",
                           Command::cache);
  cache->require_subcommand(1);
  addActionsOnEntries(*cache, arguments.cache);
  addTransfers(*cache, arguments.cache);
  addCommand(app, arguments, "completion", "Prints what lets a shell complete the command's words",
             Command::completion)
      ->add_option("SHELL", arguments.shell, "bash, zsh or fish: source <(vellora completion bash)")
      ->required();
}

}  // namespace vellora::command
