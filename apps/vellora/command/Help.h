#pragma once

#include <string>

namespace CLI {
class App;
}

namespace vellora::command {

/// Lets every option of `app` that takes a value, and every flag of all commands, be given by a variable of
/// the environment: VELLORA_ and its name, such as VELLORA_TOKEN_FILE. The flags of one command have none:
/// what a shell has exported is not to delete or replace anything. An empty variable counts as none.
void nameVariables(CLI::App& app);

/// `complaint` about the command line, with the variable that gave the option it names, if one did.
[[nodiscard]] std::string withVariable(const CLI::App& app, const std::string& complaint);

/// Lets the help texts of `app` and its subcommands say, in 80 columns, how a command is called, which keys
/// it takes, and of each option its value, default and variable.
void formatHelp(CLI::App& app);

}  // namespace vellora::command
