#include "apps/vellora/command/Options.h"

#include <CLI/CLI.hpp>
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
                 "Cache file; by default one for each server and token in your cache folder")
      ->type_name("FILE");
  addSeconds(app, "--cache-timeout", arguments.cacheTimeout, "Age at which cached data expires");
}

void addOutputOptions(CLI::App& app, Arguments& arguments) {
  addSeconds(app, "--wait", arguments.wait, "How long to wait for the answer");
  app.add_flag("--json", arguments.json, "Print one JSON document instead of a table")
      ->disable_flag_override();
  addChoice<Level>(app, "--log", arguments.logLevel,
                   {{"off", Level::off}, {"error", Level::error}, {"info", Level::info}},
                   "Library log: off, error or info; by default off")
      ->type_name("LEVEL");
  app.add_option("--log-file", arguments.logFile, "Write the log there instead of to standard error")
      ->type_name("FILE");
  app.add_flag("!--no-color", arguments.color, "Never print colours; NO_COLOR does the same")
      ->disable_flag_override();
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
  addGroup("Output", addOutputOptions);
  app.option_defaults()->group(untitled);
}

}  // namespace vellora::command
