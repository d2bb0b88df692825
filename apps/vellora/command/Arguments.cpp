#include "apps/vellora/command/Arguments.h"

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "apps/vellora/command/ArgumentCheck.h"
#include "apps/vellora/command/BuildInformation.h"
#include "apps/vellora/command/Commands.h"
#include "apps/vellora/command/DefaultCacheFile.h"
#include "apps/vellora/command/Help.h"
#include "apps/vellora/command/NamedServers.h"
#include "apps/vellora/command/Options.h"
#include "apps/vellora/command/UsageError.h"

namespace vellora::command {

namespace {

const char* const exitCodes =
    "Exit codes: 0 every key answered, 1 unexpected, 2 usage, 3 answered but some\n"
    "keys have no entry, 5 keys are missing and a request failed or the wait ran\n"
    "out, 7 the cache file cannot be used, is damaged, or failed and keys are\n"
    "missing, 130 interrupted.";

const char* const aboutConfiguration =
    "An option counts more than its variable, in brackets; that more than the\n"
    "configuration, ~/.config/vellora/config.toml, which names servers:\n"
    "\n"
    "  [servers.work]\n"
    "  address = \"https://records.example\"\n"
    "  token_file = \"work.token\"   # or token_command = [\"pass\", \"show\", \"work\"]\n"
    "\n";

using Parsed = std::variant<Arguments, HelpText, Problem>;

// The command that was named last: `purge` of "cache purge".
const CLI::App& innermost(const CLI::App& app) {
  const auto named = app.get_subcommands();
  return named.empty() ? app : innermost(*named.front());
}

/// The parser's words where they name nothing but options and keys. Others repeat what was typed.
std::string complaintOf(const CLI::ParseError& error, bool lacksCommand) {
  const bool isRequired = dynamic_cast<const CLI::RequiredError*>(&error) != nullptr;
  if (isRequired && lacksCommand) return "";
  const bool isSafe = isRequired || dynamic_cast<const CLI::ValidationError*>(&error) != nullptr ||
                      dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr ||
                      dynamic_cast<const CLI::ExcludesError*>(&error) != nullptr;
  return isSafe ? error.what() : "";
}

MisreadLine misread(const CLI::App& app, const CLI::ParseError& error) {
  MisreadLine line;
  line.unknown = app.remaining(/*recurse=*/true);
  const CLI::App& last = innermost(app);
  for (const auto* command = &last; command->get_parent() != nullptr; command = command->get_parent())
    line.path.insert(line.path.begin(), command->get_name());
  // Without a filter it gives those that were named.
  const auto any = [](const CLI::App*) { return true; };
  for (const auto* command : last.get_subcommands(any)) line.commands.push_back(command->get_name());
  for (const auto* command = &last; command != nullptr; command = command->get_parent()) {
    for (const auto* option : command->get_options()) {
      for (const auto& name : option->get_lnames()) line.options.push_back("--" + name);
    }
  }
  line.complaint = complaintOf(error, !line.commands.empty());
  return line;
}

Problem usage(const std::string& what) {
  return {ExitCode::usage, what + "; see vellora --help"};
}

/// Reads the words into the variables that `app` knows; what is to be said instead, if anything.
std::optional<Parsed> parse(CLI::App& app, int argc, const char* const* argv) {
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    return HelpText{innermost(app).help()};
  } catch (const CLI::CallForVersion& version) {
    return HelpText{std::string(version.what()) + "\n"};
  } catch (const CLI::ParseError& error) {
    return usage(withVariable(app, usageError(misread(app, error))));
  }
  return std::nullopt;
}

bool isFromVariable(const CLI::App& app, const std::string& option) {
  const auto* found = app.get_option(option);
  const char* value = found->get_envname().empty() ? nullptr : std::getenv(found->get_envname().c_str());
  return value != nullptr && *value != '\0' && found->results() == std::vector<std::string>{value};
}

/// An option overrides a variable about the output. A variable that this command cannot obey is ignored: it
/// was exported for commands that can.
void letOptionsCountMore(const CLI::App& app, Arguments& arguments) {
  auto& output = arguments.output;
  if (arguments.json && output.format) {
    const bool isFormatExported = isFromVariable(app, "--output");
    if (!isFormatExported && isFromVariable(app, "--json")) arguments.json = false;
    if (isFormatExported) output.format.reset();
  }
  if (!hasFormat(arguments) && isFromVariable(app, "--output")) output.format.reset();
  if (!hasColumns(arguments) && app.get_option("--columns")->count() > 0 &&
      std::getenv("VELLORA_COLUMNS") != nullptr)
    output.columns.clear();
}

Parsed checked(Arguments arguments, const Given& given) {
  arguments.cache.everyFile = isAboutEveryFile(arguments);
  if (needsServer(arguments)) {
    if (auto problem = useNamedServer(arguments, given)) return *std::move(problem);
  }
  if (const auto complaint = complaintAbout(arguments)) return usage(*complaint);
  if (arguments.cacheFile.empty() && needsServer(arguments)) {
    const auto file = defaultCacheFile(arguments.server);
    if (!file) return usage(noCacheFolder().message);
    arguments.cacheFile = *file;
    arguments.usesDefaultCache = true;
  }
  return arguments;
}

void addQuestionsAboutTheProgram(CLI::App& app) {
  app.set_version_flag("--version", "vellora " VELLORA_VERSION, "Print the version and exit");
  app.add_flag_callback(
      "-V,--build-info", [] { throw CLI::CallForVersion(buildInformation(), 0); },
      "Print the version and how it was built, and exit");
  app.footer(exitCodes);
}

}  // namespace

std::variant<Arguments, HelpText, Problem> parseArguments(int argc, const char* const* argv) {
  Arguments arguments;
  CLI::App app("Looks at the metadata of a business-records server.", "vellora");
  addQuestionsAboutTheProgram(app);
  addOptions(app, arguments);
  addCommands(app, arguments);
  app.footer(std::string(aboutConfiguration) + exitCodes);
  nameVariables(app);
  formatHelp(app);
  if (auto instead = parse(app, argc, argv)) return *std::move(instead);
  letOptionsCountMore(app, arguments);
  return checked(std::move(arguments), {.theme = app.count("--theme") > 0,
                                        .token = app.count("--token-file") > 0,
                                        .cache = app.count("--cache") > 0,
                                        .cachePassword = app.count("--cache-password-file") > 0});
}

}  // namespace vellora::command
