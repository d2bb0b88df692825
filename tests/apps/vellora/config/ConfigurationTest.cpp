#include "apps/vellora/config/Configuration.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <variant>

#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TemporaryFolder.h"

namespace vellora::command {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using tests::ScopedEnvironment;

class ConfigurationTest : public testing::Test {
 protected:
  Configuration read(const std::string& text) const {
    std::ofstream(file, std::ios::binary) << text;
    std::filesystem::permissions(file, std::filesystem::perms(0644));
    auto result = readConfiguration(file);
    if (const auto* error = std::get_if<ConfigurationError>(&result)) ADD_FAILURE() << error->message;
    return std::holds_alternative<Configuration>(result) ? std::get<Configuration>(result) : Configuration();
  }

  /// What is wrong, without the file's name.
  std::string wrongIn(const std::string& text) const {
    std::ofstream(file, std::ios::binary) << text;
    const auto result = readConfiguration(file);
    const auto* error = std::get_if<ConfigurationError>(&result);
    if (error == nullptr) return "nothing";
    EXPECT_THAT(error->message, StartsWith(file));
    return error->message.substr(file.size());
  }

  const tests::TemporaryFolder folder;
  const std::string file = folder.file("config.toml");
};

TEST_F(ConfigurationTest, NamesServersWithTheirTokensAndThemes) {
  const ScopedEnvironment home("HOME", "/home/somebody");
  const auto configuration = read(R"(
server = "work"

[servers.work]
address = "https://records.example"
token_command = ["pass", "show", "my records"]
theme = "dark"

[servers.test]
address = "http://127.0.0.1:8080"
token_file = "test.token"

[servers.old]
address = "https://old.example"
token_file = "~/old.token"
)");
  EXPECT_EQ(configuration.server, "work");
  const auto& work = configuration.servers.at("work");
  EXPECT_EQ(work.address, "https://records.example");
  EXPECT_THAT(work.tokenCommand, ElementsAre("pass", "show", "my records"));
  EXPECT_EQ(work.tokenFile, std::nullopt);
  EXPECT_EQ(work.theme, "dark");
  EXPECT_EQ(work.tokenPlace, file + ":6");
  EXPECT_EQ(configuration.servers.at("test").tokenFile, folder.file("test.token"));
  EXPECT_EQ(configuration.servers.at("test").theme, std::nullopt);
  EXPECT_EQ(configuration.servers.at("old").tokenFile, "/home/somebody/old.token");
}

TEST_F(ConfigurationTest, ACacheIsAFileBesideItOrTheAddressOfARedisWithAPasswordFile) {
  const auto configuration = read(R"([servers.file]
address = "https://records.example"
cache = "work.sqlite"

[servers.many]
address = "https://records.example"
cache = "rediss://cache.example"
cache_password_file = "cache.password"
cache_user = "reader"
cache_ca_file = "authorities.pem"
)");
  const auto& inFile = configuration.servers.at("file");
  EXPECT_EQ(inFile.cache, folder.file("work.sqlite"));
  EXPECT_EQ(inFile.cachePasswordFile, std::nullopt);
  const auto& inRedis = configuration.servers.at("many");
  EXPECT_EQ(inRedis.cache, "rediss://cache.example");
  EXPECT_EQ(inRedis.cachePasswordFile, folder.file("cache.password"));
  EXPECT_EQ(inRedis.cachePasswordPlace, file + ":8");
  EXPECT_EQ(inRedis.cacheUser, "reader");
  EXPECT_EQ(inRedis.cacheCaFile, folder.file("authorities.pem"));
}

TEST_F(ConfigurationTest, AFileThatIsNotThereSaysNothing) {
  const auto result = readConfiguration(folder.file("absent/config.toml"));
  const auto& configuration = std::get<Configuration>(result);
  EXPECT_FALSE(configuration.exists);
  EXPECT_TRUE(configuration.servers.empty());
  EXPECT_EQ(configuration.server, std::nullopt);
}

TEST_F(ConfigurationTest, AFileThatCannotBeReadIsTold) {
  const auto folderResult = readConfiguration(folder.path().string());
  EXPECT_EQ(std::get<ConfigurationError>(folderResult).message,
            "cannot read " + folder.path().string() + ": it is no plain file");
  std::ofstream(file) << std::string(1024 * 1024 + 1, '#');
  const auto hugeResult = readConfiguration(file);
  EXPECT_EQ(std::get<ConfigurationError>(hugeResult).message,
            "cannot read " + file + ": it is larger than 1 MB");
}

TEST_F(ConfigurationTest, AMistakeIsToldWithItsLineAndColumn) {
  EXPECT_THAT(wrongIn("server = \"a\"\n\nservers = {\n"), StartsWith(":3:"));
  EXPECT_EQ(wrongIn("[servers.a]\naddress = \"http://a\"\ncolour = \"red\"\n"),
            ":3:10: a server has no \"colour\", but address, theme, token_file, token_command, cache, "
            "cache_user, cache_password_file and cache_ca_file");
  EXPECT_EQ(wrongIn("sever = \"a\"\n"), ":1:9: there is no \"sever\" here, but server and [servers.NAME]");
  EXPECT_EQ(wrongIn("[servers.a]\ntheme = \"dark\"\n"), ":1:1: this server has no address");
  EXPECT_EQ(wrongIn("[servers.a]\naddress = 7\n"), ":2:11: address must be a text in quotation marks");
  EXPECT_EQ(wrongIn("[servers]\na = \"http://a\"\n"), ":2:5: a server is a table: [servers.NAME]");
  EXPECT_EQ(wrongIn("servers = 7\n"), ":1:11: servers are tables: [servers.NAME]");
  EXPECT_EQ(wrongIn("[servers.a]\naddress = \"http://a\"\ntoken_file = \"-\"\n"),
            ":3:14: token_file must be a file; standard input is --token-file -");
  EXPECT_EQ(wrongIn("[servers.a]\naddress = \"http://a\"\ncache_password_file = \"-\"\n"),
            ":3:23: cache_password_file must be a file; standard input is --cache-password-file -");
  EXPECT_EQ(wrongIn("[servers.a]\naddress = \"http://a\"\ntoken_file = \"t\"\ntoken_command = [\"c\"]\n"),
            ":3:14: give either token_file or token_command");
  EXPECT_THAT(wrongIn("[servers.\"http://a\"]\naddress = \"http://a\"\n"),
              HasSubstr("the name of a server has no"));
}

TEST_F(ConfigurationTest, ACommandIsAListOfWordsAndNotALineForAShell) {
  const std::string begin = "[servers.a]\naddress = \"http://a\"\ntoken_command = ";
  for (const char* const wrong : {"\"pass show a\"", "[]", "[\"\"]", "[\"pass\", 7]", "[\"a\\u0000b\"]"}) {
    EXPECT_THAT(wrongIn(begin + wrong + "\n"), HasSubstr("token_command must be a list of words")) << wrong;
  }
}

TEST_F(ConfigurationTest, NoMistakeRepeatsWhatMayBeAToken) {
  const std::string secret = "s3cr3t-tr0ub4dor-canary";
  const std::string begin = "[servers.a]\naddress = \"http://a\"\n";
  for (const auto& text :
       {begin + "token = \"" + secret + "\"\n", begin + "token = " + secret + "\n",
        begin + "token = true" + secret, begin + "token_file = \"" + secret,
        begin + "token_command = \"" + secret + "\"\n", begin + "token_command = [" + secret + "]\n",
        begin + secret + secret + " = 1\n", secret, begin + "theme = 2026-01-01" + secret + "\n",
        begin + "token_file = [\"" + secret + "\"]\n", begin + "cache = [\"" + secret + "\"]\n",
        begin + "cache_password = \"" + secret + "\"\n"}) {
    const auto wrong = wrongIn(text);
    EXPECT_NE(wrong, "nothing") << text;
    EXPECT_THAT(wrong, Not(HasSubstr(secret.substr(0, 6)))) << text;
  }
  EXPECT_THAT(wrongIn(begin + "token = \"" + secret + "\"\n"),
              StartsWith(":3:9: a token does not belong into this file"));
}

TEST_F(ConfigurationTest, BytesThatAreNoTextAreTold) {
  EXPECT_THAT(wrongIn("server = \"\xFF\"\n"), HasSubstr("this is not TOML"));
}

TEST_F(ConfigurationTest, KnowsWhoElseMayWriteTheFile) {
  using std::filesystem::perms;
  EXPECT_EQ(read("").otherWriter, std::nullopt);
  std::filesystem::permissions(file, perms(0664));
  EXPECT_EQ(std::get<Configuration>(readConfiguration(file)).otherWriter, "its group");
  std::filesystem::permissions(file, perms(0666));
  EXPECT_EQ(std::get<Configuration>(readConfiguration(file)).otherWriter, "others");
  std::filesystem::permissions(file, perms(0600));
  EXPECT_EQ(std::get<Configuration>(readConfiguration(file)).otherWriter, std::nullopt);
}

TEST_F(ConfigurationTest, StandsInTheUsersFolderForConfigurations) {
  const ScopedEnvironment home("HOME", "/home/somebody");
  {
    const ScopedEnvironment xdg("XDG_CONFIG_HOME", "/somewhere");
    EXPECT_EQ(configurationFile(), "/somewhere/vellora/config.toml");
  }
  const ScopedEnvironment relative("XDG_CONFIG_HOME", "relative");
  EXPECT_EQ(configurationFile(), "/home/somebody/.config/vellora/config.toml");
  const ScopedEnvironment homeless("HOME", "");
  EXPECT_EQ(configurationFile(), std::nullopt);
}

}  // namespace
}  // namespace vellora::command
