#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "apps/vellora/command/CacheArguments.h"
#include "apps/vellora/command/ChangeArguments.h"
#include "apps/vellora/command/OutputArguments.h"
#include "apps/vellora/command/Problem.h"
#include "hostkit/log/SpdlogLogger.h"
#include "vellora/DataServices/Source.h"

namespace vellora::command {

/// What the command was told, checked as far as that is possible without touching anything.
struct Arguments {
  enum class Command {
    ids,
    names,
    list,
    searchLayouts,
    compactLayouts,
    status,
    explore,
    cache,
    watch,
    diff,
    completion
  };

  Command command = Command::ids;
  std::vector<std::string>
      keys;  ///< as given; "-" alone stands for the lines of standard input, but for `list`
  std::string server;
  std::optional<std::string> tokenFile;  ///< "-" is standard input
  std::vector<std::string>
      tokenCommand;        ///< the program that prints the token, and its arguments; may be empty
  std::string tokenPlace;  ///< where the configuration names either, as FILE:LINE; empty when an option does
  std::string account;     ///< the server's name in the configuration, where the token is the one named there
  std::string theme = "light";
  std::string cacheFile;  ///< the one that was given, else the server's for those without a token; may be the
                          ///< address of a Redis
  std::string cacheUser;  ///< of that Redis; empty for its default user
  std::optional<std::string> cacheCaFile;        ///< the authorities to trust instead of the system's
  std::optional<std::string> cachePasswordFile;  ///< of that Redis; "-" is standard input
  std::string
      cachePasswordPlace;  ///< where the configuration names it, as FILE:LINE; empty when an option does
  bool usesDefaultCache = false;  ///< none was given, so that a token has one of its own
  double cacheTimeout = 3600;     ///< seconds
  double wait = 70;               ///< seconds
  Source source = Source::cacheFirst;
  bool json = false;       ///< one document: the dictionary of what was found
  OutputArguments output;  ///< every other form
  hostkit::SpdlogLogger::Level logLevel = hostkit::SpdlogLogger::Level::off;
  std::optional<std::string> logFile;
  std::uint16_t port = 0;          ///< of the explorer; 0 for a free one
  ChangeArguments changes;         ///< of watch and diff
  std::string shell;               ///< that is to be completed for
  CacheArguments cache;            ///< of the command of that name
  std::vector<std::string> notes;  ///< to be told before anything else

  /// True when the keys are to be read from standard input.
  [[nodiscard]] bool readsKeys() const {
    return command != Command::list && keys == std::vector<std::string>{"-"};
  }

  /// True when the password of the cache is to be read from standard input.
  [[nodiscard]] bool readsCachePassword() const { return cachePasswordFile == "-"; }

  /// Whether a command that has one document only is to print that.
  [[nodiscard]] bool printsDocument() const { return json || output.prints(Format::json); }
};

/// What was asked for instead of a command, such as --help: the text for standard output.
struct HelpText {
  std::string text;
};

/// Reads the command line, the variables of its options, and, where a server is named or none is given, the
/// user's configuration: an option counts more than its variable, that more than the configuration.
[[nodiscard]] std::variant<Arguments, HelpText, Problem> parseArguments(int argc, const char* const* argv);

}  // namespace vellora::command
