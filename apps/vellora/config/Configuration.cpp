#include "apps/vellora/config/Configuration.h"

#include <toml++/toml.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <utility>

#include "apps/vellora/config/ConfigurationFile.h"

namespace vellora::command {

namespace {

std::optional<std::string> absoluteFolder(const char* variable) {
  const char* folder = std::getenv(variable);
  const bool isAbsolute = folder != nullptr && *folder == '/';  // a relative one is to be ignored
  return isAbsolute ? std::optional<std::string>(folder) : std::nullopt;
}

/// What is wrong at a place of the file; thrown while the file is understood.
struct Wrong {
  toml::source_region place;
  std::string what;
};

[[noreturn]] void refuse(const toml::node& node, std::string what) {
  throw Wrong{node.source(), std::move(what)};
}

/// A key as a message names it: a long one may be a value in the wrong place.
std::string quoted(std::string_view key) {
  constexpr std::size_t longest = 30;
  return key.size() > longest ? "a key" : "\"" + std::string(key) + "\"";
}

std::string textOf(const toml::node& node, std::string_view key) {
  const auto text = node.value_exact<std::string>();
  if (!text || text->empty()) refuse(node, std::string(key) + " must be a text in quotation marks");
  return *text;
}

std::vector<std::string> wordsOf(const toml::node& node) {
  const char* const form = R"(token_command must be a list of words, such as ["pass", "show", "records"]; )"
                           "no shell reads them";
  const auto* list = node.as_array();
  if (list == nullptr || list->empty()) refuse(node, form);
  std::vector<std::string> words;
  for (const auto& word : *list) {
    const auto text = word.value_exact<std::string>();
    if (!text || text->find('\0') != std::string::npos) refuse(word, form);
    words.push_back(*text);
  }
  if (words.front().empty()) refuse(node, form);
  return words;
}

/// "token_file" as the option that says the same.
std::string optionFor(std::string_view key) {
  std::string option = "--" + std::string(key);
  std::replace(option.begin(), option.end(), '_', '-');
  return option;
}

/// A path as the file means it: "~/" is the user's home, and what is not absolute starts at the file's
/// folder.
std::string pathOf(const toml::node& node, std::string_view key, const std::string& file) {
  const std::string path = textOf(node, key);
  if (path == "-")
    refuse(node, std::string(key) + " must be a file; standard input is " + optionFor(key) + " -");
  if (path.starts_with("~/")) {
    const auto home = absoluteFolder("HOME");
    if (!home) refuse(node, std::string(key) + " begins with ~, and HOME is not set");
    return *home + path.substr(1);
  }
  return path.starts_with('/') ? path : (std::filesystem::path(file).parent_path() / path).string();
}

std::string placeOf(const toml::node& node, const std::string& file) {
  return file + ":" + std::to_string(node.source().begin.line);
}

void readToken(const toml::node& node, NamedServer& server, const std::string& file, bool isCommand) {
  if (!server.tokenPlace.empty()) refuse(node, "give either token_file or token_command");
  server.tokenPlace = placeOf(node, file);
  if (isCommand) {
    server.tokenCommand = wordsOf(node);
  } else {
    server.tokenFile = pathOf(node, "token_file", file);
  }
}

/// A file's path, or the address of a Redis, as it stands there.
std::string cacheOf(const toml::node& node, const std::string& file) {
  const std::string text = textOf(node, "cache");
  return text.find("://") == std::string::npos ? pathOf(node, "cache", file) : text;
}

/// Whether `key` tells of the cache.
bool readCache(std::string_view key, const toml::node& node, NamedServer& server, const std::string& file) {
  if (key == "cache") {
    server.cache = cacheOf(node, file);
  } else if (key == "cache_user") {
    server.cacheUser = textOf(node, key);
  } else if (key == "cache_ca_file") {
    server.cacheCaFile = pathOf(node, key, file);
  } else if (key == "cache_password_file") {
    server.cachePasswordFile = pathOf(node, key, file);
    server.cachePasswordPlace = placeOf(node, file);
  } else {
    return false;
  }
  return true;
}

NamedServer serverIn(const toml::node& node, const std::string& file) {
  const auto* table = node.as_table();
  if (table == nullptr) refuse(node, "a server is a table: [servers.NAME]");
  NamedServer server;
  for (const auto& [name, value] : *table) {
    const std::string_view key = name.str();
    if (key == "address") {
      server.address = textOf(value, key);
    } else if (key == "theme") {
      server.theme = textOf(value, key);
    } else if (readCache(key, value, server, file)) {
      continue;
    } else if (key == "token_file" || key == "token_command") {
      readToken(value, server, file, key == "token_command");
    } else if (key == "token") {
      refuse(value,
             "a token does not belong into this file: name a file that holds it (token_file) or a program "
             "that prints it (token_command)");
    } else {
      refuse(value, "a server has no " + quoted(key) +
                        ", but address, theme, token_file, token_command, cache, cache_user, "
                        "cache_password_file and cache_ca_file");
    }
  }
  if (server.address.empty()) refuse(node, "this server has no address");
  return server;
}

/// An address, a path and an option would never be looked up.
void checkName(std::string_view name, const toml::node& node) {
  const bool isPlain =
      !name.empty() && name.front() != '-' && name.find_first_of("/: \t\n\"\\") == std::string_view::npos;
  if (!isPlain)
    refuse(node,
           "the name of a server has no blanks, quotation marks, colons, slashes, and no hyphen in front");
}

void readServers(const toml::node& node, Configuration& configuration) {
  const auto* servers = node.as_table();
  if (servers == nullptr) refuse(node, "servers are tables: [servers.NAME]");
  for (const auto& [name, value] : *servers) {
    checkName(name.str(), value);
    configuration.servers.emplace(name.str(), serverIn(value, configuration.file));
  }
}

void readAll(const toml::table& table, Configuration& configuration) {
  for (const auto& [name, value] : table) {
    if (name.str() == "server") {
      configuration.server = textOf(value, "server");
    } else if (name.str() == "servers") {
      readServers(value, configuration);
    } else {
      refuse(value, "there is no " + quoted(name.str()) + " here, but server and [servers.NAME]");
    }
  }
}

ConfigurationError errorAt(const std::string& file, const toml::source_region& place,
                           const std::string& what) {
  return {file + ":" + std::to_string(place.begin.line) + ":" + std::to_string(place.begin.column) + ": " +
          what};
}

/// Names the kind of thing that is wrong. What the parser says further on may quote the file.
std::string withoutQuotation(std::string_view description) {
  constexpr std::string_view beginning = "Error while parsing ";
  if (!description.starts_with(beginning)) return "this is not TOML";
  description.remove_prefix(beginning.size());
  return "this is not TOML: there is a mistake in this " +
         std::string(description.substr(0, description.find(':')));
}

}  // namespace

std::optional<std::string> configurationFile() {
  if (const auto xdg = absoluteFolder("XDG_CONFIG_HOME")) return *xdg + "/vellora/config.toml";
  const auto home = absoluteFolder("HOME");
  return home ? std::optional(*home + "/.config/vellora/config.toml") : std::nullopt;
}

std::variant<Configuration, ConfigurationError> readConfiguration(const std::string& file) {
  auto read = readConfigurationFile(file);
  if (read.failure) return ConfigurationError{"cannot read " + file + ": " + *read.failure};
  Configuration configuration;
  configuration.file = file;
  configuration.exists = read.exists;
  configuration.otherWriter = read.otherWriter;
  try {
    readAll(toml::parse(read.text), configuration);
  } catch (const toml::parse_error& error) {
    return errorAt(file, error.source(), withoutQuotation(error.description()));
  } catch (const Wrong& wrong) {
    return errorAt(file, wrong.place, wrong.what);
  }
  return configuration;
}

}  // namespace vellora::command
