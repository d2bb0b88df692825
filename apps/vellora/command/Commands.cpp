#include "apps/vellora/command/Commands.h"

#include <CLI/CLI.hpp>
#include <string>

#include "apps/vellora/command/OptionText.h"

namespace vellora::command {

namespace {

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
  purge->add_flag("--expired", cache.expired, "Delete all that is expired, outdated or damaged")
      ->disable_flag_override();
  purge->add_flag("--all", cache.all, "Delete everything")->disable_flag_override();
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
}

}  // namespace vellora::command
