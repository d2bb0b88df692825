#include "apps/vellora/command/NamedServers.h"

#include <utility>
#include <variant>

#include "apps/vellora/command/Output.h"
#include "apps/vellora/config/Configuration.h"

namespace vellora::command {

namespace {

Problem usage(std::string message) {
  return {ExitCode::usage, std::move(message)};
}

/// That somebody else may change the file, and the way out.
std::string warningOf(const Configuration& configuration, const std::string& consequence) {
  return *configuration.otherWriter + " may write " + configuration.file + consequence +
         ": make the file your own, and chmod go-w it";
}

std::string namesIn(const Configuration& configuration) {
  std::string names;
  for (const auto& [name, server] : configuration.servers)
    names.append(names.empty() ? "" : ", ").append(name);
  return names;
}

Problem unknown(const std::string& name, const Configuration& configuration) {
  const std::string what = "there is no server " + keyText(name);
  if (configuration.servers.empty()) {
    return usage(what + ": give its address, such as https://records.example, or name it in " +
                 configuration.file);
  }
  return usage(what + " in " + configuration.file + ", but " + namesIn(configuration));
}

/// A password is that of the cache beside which it stands.
void useCache(const NamedServer& server, const Given& given, Arguments& arguments) {
  if (given.cache || !server.cache) return;
  arguments.cacheFile = *server.cache;
  if (arguments.cacheUser.empty()) arguments.cacheUser = server.cacheUser;
  if (!arguments.cacheCaFile) arguments.cacheCaFile = server.cacheCaFile;
  if (given.cachePassword) return;
  arguments.cachePasswordFile = server.cachePasswordFile;
  arguments.cachePasswordPlace = server.cachePasswordPlace;
}

std::optional<Problem> use(const Configuration& configuration, const std::string& name, const Given& given,
                           Arguments& arguments) {
  const NamedServer& server = configuration.servers.at(name);
  arguments.server = server.address;
  if (server.theme && !given.theme) arguments.theme = *server.theme;
  useCache(server, given, arguments);
  if (given.token) return std::nullopt;
  if (!server.tokenCommand.empty() && configuration.otherWriter)
    return usage(warningOf(configuration, ", so the token command in it is not run"));
  arguments.tokenFile = server.tokenFile;
  arguments.tokenCommand = server.tokenCommand;
  arguments.tokenPlace = server.tokenPlace;
  if (!server.tokenPlace.empty()) arguments.account = name;
  return std::nullopt;
}

}  // namespace

bool mayBeAName(const std::string& server) {
  return server.find_first_of(":/") == std::string::npos;
}

std::optional<Problem> useNamedServer(Arguments& arguments, const Given& given) {
  const auto file = configurationFile();
  if (!file || !mayBeAName(arguments.server)) return std::nullopt;
  const auto read = readConfiguration(*file);
  if (const auto* error = std::get_if<ConfigurationError>(&read)) return usage(error->message);
  const auto& configuration = std::get<Configuration>(read);
  if (configuration.otherWriter) arguments.notes.push_back(warningOf(configuration, ""));
  if (arguments.server.empty()) arguments.server = configuration.server.value_or("");
  if (!mayBeAName(arguments.server) || arguments.server.empty()) return std::nullopt;
  const std::string name = arguments.server;
  if (!configuration.servers.contains(name)) return unknown(name, configuration);
  return use(configuration, name, given, arguments);
}

}  // namespace vellora::command
