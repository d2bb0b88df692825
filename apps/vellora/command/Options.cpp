#include "apps/vellora/command/Options.h"

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "apps/vellora/command/OptionText.h"

namespace vellora::command {

namespace {

using Level = hostkit::SpdlogLogger::Level;

/// The words that an option takes, and what each of them means.
template <class T>
using Choices = std::vector<std::pair<std::string, T>>;

template <class T>
CLI::Option* addChoice(CLI::App& app, const std::string& names, T& target, Choices<T> choices,
                       const std::string& help) {
  std::vector<std::string> words;
  for (const auto& [word, meaning] : choices) words.push_back(word);
  const auto choose = [&target, choices = std::move(choices)](const std::string& text) {
    for (const auto& [word, meaning] : choices) {
      if (word == text) target = meaning;
    }
  };
  return app.add_option_function<std::string>(names, choose, help)->check(oneOf(std::move(words)));
}

CLI::Option* addSeconds(CLI::App& app, const std::string& name, double& target, const std::string& help) {
  return app.add_option(name, target, help)->check(aNumber())->capture_default_str()->type_name("SECONDS");
}

void addServerOptions(CLI::App& app, Arguments& arguments) {
  app.add_option("--server", arguments.server,
                 "The records server, such as https://records.example, or its name in the configuration")
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
                 "Cache file; by default one for each server and token in your cache folder. Or a Redis that "
                 "many machines share, such as redis://cache.example")
      ->type_name("FILE");
  app.add_option("--cache-user", arguments.cacheUser, "User of that Redis; by default its default user")
      ->type_name("NAME");
  app.add_option("--cache-password-file", arguments.cachePasswordFile,
                 "File with the password of that Redis; - is standard input")
      ->type_name("FILE");
  app.add_option("--cache-ca-file", arguments.cacheCaFile,
                 "PEM file of the authorities that a rediss:// is trusted by; by default the system's")
      ->type_name("FILE");
  addSeconds(app, "--cache-timeout", arguments.cacheTimeout, "Age at which cached data expires");
}

void addSourceOptions(CLI::App& app, Arguments& arguments) {
  const auto takeFrom = [&](const std::string& name, Source source, const std::string& help) {
    const auto take = [&arguments, source] { arguments.source = source; };
    return app.add_flag_callback(name, take, help)->disable_flag_override();
  };
  auto* offline = takeFrom("--offline", Source::cacheOnly, "Ask the cache alone, which needs no server");
  takeFrom("--refresh", Source::serverFirst, "Ask the server first, and the cache only where it fails")
      ->excludes(offline);
  addSeconds(app, "--wait", arguments.wait, "How long to wait for the answer");
}

void addOutputOptions(CLI::App& app, Arguments& arguments) {
  auto& output = arguments.output;
  addChoice<std::optional<Format>>(app, "-o,--output", output.format,
                                   {{"table", Format::table},
                                    {"json", Format::json},
                                    {"csv", Format::csv},
                                    {"tsv", Format::tsv},
                                    {"jsonl", Format::jsonl}},
                                   "Form of the answer: table, json, csv, tsv or jsonl")
      ->type_name("FORMAT");
  app.add_flag("--json", arguments.json, "Print one JSON document: the dictionary of what was found")
      ->disable_flag_override();
  app.add_option("--columns", output.columns, "Columns to print, in their order, such as label,apiName")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->type_name("NAMES");
  app.add_flag("--wide", output.wide, "All columns in a table, icons included, however wide it gets")
      ->disable_flag_override();
  addChoice<Coloring>(
      app, "--color", output.color,
      {{"auto", Coloring::automatic}, {"always", Coloring::always}, {"never", Coloring::never}},
      "When to print colours: auto, always or never; auto looks at the terminal and NO_COLOR")
      ->type_name("WHEN");
  const auto never = [&output] { output.color = Coloring::never; };
  app.add_flag_callback("--no-color", never, "The same as --color never")->disable_flag_override();
}

void addTalkOptions(CLI::App& app, Arguments& arguments) {
  auto& talk = arguments.output.talk;
  const auto say = [&](const std::string& names, Talk wanted, const std::string& help) {
    const auto set = [&talk, wanted] { talk = wanted; };
    return app.add_flag_callback(names, set, help)->disable_flag_override();
  };
  auto* quiet = say("-q,--quiet", Talk::quiet, "Say nothing of what is missing or old; exit codes stay");
  say("-v,--verbose", Talk::verbose, "Tell of each request, and where the answer came from")->excludes(quiet);
  addChoice<Level>(app, "--log", arguments.logLevel,
                   {{"off", Level::off}, {"error", Level::error}, {"info", Level::info}},
                   "Library log: off, error or info; by default off")
      ->type_name("LEVEL");
  app.add_option("--log-file", arguments.logFile, "Write the log there instead of to standard error")
      ->type_name("FILE");
}

}  // namespace

void addOptions(CLI::App& app, Arguments& arguments) {
  const auto addGroup = [&](const std::string& title, void (*add)(CLI::App&, Arguments&)) {
    app.option_defaults()->group(title);
    add(app, arguments);
  };
  const std::string untitled = app.option_defaults()->get_group();
  addGroup("Server", addServerOptions);
  addGroup("Cache", addCacheOptions);
  addGroup("Answer", addSourceOptions);
  addGroup("Output", addOutputOptions);
  addGroup("Messages", addTalkOptions);
  app.option_defaults()->group(untitled);
}

}  // namespace vellora::command
