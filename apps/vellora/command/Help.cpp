#include "apps/vellora/command/Help.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "vellora/Platform/Text/AsciiCase.h"

namespace vellora::command {

namespace {

/// "--token-file" as the name of a variable; empty for an option that is not to have one.
std::string variableOf(const CLI::App& app, const CLI::Option& option) {
  const bool isSwitch = option.get_items_expected_max() == 0;
  // Such as --no-color, which NO_COLOR stands for.
  const bool isForbidding = !option.get_lnames().empty() && option.get_lnames().front().starts_with("no-");
  const bool isOfOneCommand = app.get_parent() != nullptr;
  const bool isInfo = !isOfOneCommand && option.get_group() == "Options";  // such as --help
  if (isInfo || isForbidding || (isSwitch && isOfOneCommand) || option.get_lnames().empty()) return {};
  std::string name = "VELLORA_" + option.get_lnames().front();
  std::transform(name.begin(), name.end(), name.begin(),
                 [](char character) { return character == '-' ? '_' : asciiUpperCase(character); });
  return name;
}

std::string joined(const std::string& text, const std::string& separator, const std::string& more) {
  return text.empty() || more.empty() ? text + more : text + separator + more;
}

/// `text` in lines of `most` columns, where it has blanks to break at; all but the first behind `indent`.
std::string wrapped(const std::string& text, std::size_t most, std::size_t indent) {
  std::istringstream words(text);
  std::string lines;
  std::size_t width = 0;
  for (std::string word; words >> word;) {
    if (width > 0 && width + 1 + word.size() > most) {
      lines.append("\n").append(indent, ' ');
      width = 0;
    }
    if (width > 0) lines += ' ';
    lines += word;
    width += word.size() + (width > 0 ? 1 : 0);
  }
  return lines;
}

constexpr std::size_t columns = 80;

/// An entry of a list: what is told of, and what is said of it, beside it or, where that is too long, below.
std::string entry(const std::string& name, const std::string& description) {
  constexpr std::size_t indent = 26;
  std::string line = "  " + name;
  if (line.size() + 2 > indent) line += "\n";
  line.append(line.ends_with('\n') ? indent : indent - line.size(), ' ');
  return line + wrapped(description, columns - indent, indent) + "\n";
}

class HelpFormatter final : public CLI::Formatter {
 public:
  std::string make_description(const CLI::App* app) const override {
    return wrapped(app->get_description(), columns, 0) + "\n\n";
  }

  std::string make_usage(const CLI::App* app, std::string /*name*/) const override {
    std::string commands;
    for (const auto* one = app; one != nullptr; one = one->get_parent())
      commands = joined(one->get_name(), one->get_parent() == nullptr ? " [OPTION]... " : " ", commands);
    std::string keys;
    for (const auto* option : app->get_options([](const auto* any) { return any->get_positional(); }))
      keys.append(" ").append(make_option_usage(option));
    const bool hasCommands = app->get_require_subcommand_min() > 0;
    return "Usage: " + commands + (app->get_parent() == nullptr ? " [OPTION]..." : "") +
           (hasCommands ? " COMMAND [ARGUMENT]..." : keys) + "\n";
  }

  std::string make_positionals(const CLI::App* app) const override {
    std::string text;
    for (const auto* option : app->get_options([](const auto* any) { return any->get_positional(); }))
      text += make_option(option, true);
    return text.empty() ? text : "\nArguments:\n" + text;
  }

  std::string make_group(std::string group, bool isPositional,
                         std::vector<const CLI::Option*> options) const override {
    std::string text = "\n" + group + ":\n";
    for (const auto* option : options) text += make_option(option, isPositional);
    return text;
  }

  std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const override {
    std::string text = CLI::Formatter::make_help(app, std::move(name), mode);
    for (auto at = text.find("\n\n\n"); at != std::string::npos; at = text.find("\n\n\n")) text.erase(at, 1);
    return text;
  }

  std::string make_option(const CLI::Option* option, bool isPositional) const override {
    const std::string name = make_option_name(option, isPositional);
    return entry(name + make_option_opts(option), make_option_desc(option));
  }

  std::string make_option_name(const CLI::Option* option, bool isPositional) const override {
    if (isPositional) return option->get_name(true, false);
    std::string names;
    for (const auto& name : option->get_snames()) names = joined(names, ", ", std::string("-").append(name));
    for (const auto& name : option->get_lnames()) names = joined(names, ", ", std::string("--").append(name));
    return names;
  }

  std::string make_option_opts(const CLI::Option* option) const override {
    if (option->get_positional()) return option->get_items_expected_max() > 1 ? "..." : "";
    return option->get_items_expected_max() == 0 ? std::string() : " " + option->get_type_name();
  }

  std::string make_option_desc(const CLI::Option* option) const override {
    const bool takesValue = option->get_items_expected_max() > 0;
    std::string text = option->get_description();
    if (takesValue && !option->get_default_str().empty()) text += "; by default " + option->get_default_str();
    return option->get_envname().empty() ? text : text + " [" + option->get_envname() + "]";
  }

  std::string make_subcommand(const CLI::App* command) const override {
    return entry(command->get_name(), command->get_description());
  }

  std::string make_footer(const CLI::App* app) const override {
    const bool isWhole = app->get_parent() == nullptr;
    const std::string text = CLI::Formatter::make_footer(app);
    return isWhole ? text : "The options of all commands: vellora --help\n\n" + text;
  }
};

void formatAll(CLI::App& app, const std::shared_ptr<HelpFormatter>& formatter) {
  app.formatter(formatter);
  for (auto* command : app.get_subcommands({})) formatAll(*command, formatter);
}

/// Whether `text` names the option, and not one that only begins like it.
bool names(const std::string& text, const std::string& option) {
  const auto at = text.find(option);
  if (at == std::string::npos) return false;
  const auto behind = text.substr(at + option.size(), 1);
  return behind.empty() || (std::isalnum(static_cast<unsigned char>(behind[0])) == 0 && behind != "-");
}

}  // namespace

void nameVariables(CLI::App& app) {
  for (auto* option : app.get_options()) {
    if (const auto variable = variableOf(app, *option); !variable.empty()) option->envname(variable);
  }
  for (auto* command : app.get_subcommands({})) nameVariables(*command);
}

std::string withVariable(const CLI::App& app, const std::string& complaint) {
  for (const auto* option : app.get_options()) {
    const char* value = option->get_envname().empty() ? nullptr : std::getenv(option->get_envname().c_str());
    const bool isGiven =
        value != nullptr && *value != '\0' && option->results() == std::vector<std::string>{value};
    if (isGiven && names(complaint, "--" + option->get_lnames().front()))
      return complaint + ", from the variable " + option->get_envname();
  }
  for (const auto* command : app.get_subcommands([](const auto*) { return true; })) {
    auto text = withVariable(*command, complaint);
    if (text != complaint) return text;
  }
  return complaint;
}

void formatHelp(CLI::App& app) {
  formatAll(app, std::make_shared<HelpFormatter>());
}

}  // namespace vellora::command
