#pragma once

#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace vellora::command {

/// A records server that the user has given a name.
struct NamedServer {
  std::string address;
  std::optional<std::string> tokenFile;  ///< absolute
  std::vector<std::string>
      tokenCommand;  ///< a program and its arguments, which prints the token; may be empty
  std::optional<std::string> theme;
  std::optional<std::string> cache;              ///< an absolute file, or the address of a Redis
  std::string cacheUser;                         ///< may be empty
  std::optional<std::string> cachePasswordFile;  ///< absolute
  std::optional<std::string> cacheCaFile;        ///< absolute

  /// Where the file says whence the token comes, as "FILE:LINE"; empty when it does not.
  std::string tokenPlace;
  std::string cachePasswordPlace;  ///< the same of the password

  friend bool operator==(const NamedServer&, const NamedServer&) = default;
};

/// What the user's configuration file says.
///
///     server = "work"
///
///     [servers.work]
///     address = "https://records.example"
///     token_command = ["pass", "show", "records"]
///     theme = "dark"
///
/// Ownership: a plain value.
struct Configuration {
  std::string file;                   ///< where it was read from, or would be
  bool exists = false;                ///< whether there is such a file
  std::optional<std::string> server;  ///< the name or address of the server that is asked when none is named
  std::map<std::string, NamedServer> servers;

  /// Who else may change the file, and with it the programs that it names: "its group" or "others", or
  /// "another user" whose file it is.
  std::optional<std::string> otherWriter;

  friend bool operator==(const Configuration&, const Configuration&) = default;
};

/// What is wrong in the file, with its name, the line and the column, on one line. No value that stands in
/// the file is repeated: it may be a token.
struct ConfigurationError {
  std::string message;
};

/// "vellora/config.toml" in the user's folder for configurations ($XDG_CONFIG_HOME, else ~/.config). No value
/// when the user has none.
[[nodiscard]] std::optional<std::string> configurationFile();

/// Reads the file. One that is not there says nothing; one that cannot be read, is larger than 1 MB or says
/// what nobody knows is an error.
[[nodiscard]] std::variant<Configuration, ConfigurationError> readConfiguration(const std::string& file);

}  // namespace vellora::command
