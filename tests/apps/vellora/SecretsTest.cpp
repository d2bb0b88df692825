#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/ChildProcess.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TokenCanary.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora::command {
namespace {

using testing::Each;
using testing::HasSubstr;
using testing::IsEmpty;
using tests::ChildProcess;
using tests::ScriptedServer;
using tests::TemporaryFolder;
using tests::TokenCanary;
using Then = ScriptedServer::Then;

/// The command with a token, and a server that does its worst with it. Everything is logged.
class SecretsTest : public testing::Test {
 protected:
  [[nodiscard]] std::vector<std::string> arguments(const std::string& address) const {
    return {"--server",     address,
            "--token-file", "-",
            "--cache",      folder.file("cache.sqlite"),
            "--log",        "info",
            "--log-file",   folder.file("log"),
            "names",        "Account"};
  }

  /// The same, where nothing answers that could be waited for.
  [[nodiscard]] std::vector<std::string> impatientArguments(const std::string& address) const {
    auto all = arguments(address);
    all.insert(all.end() - 2, {"--wait", "0.5"});
    return all;
  }

  /// Another lookup at the server that is there.
  ChildProcess::Ended lookUp(const std::vector<std::string>& words) const {
    auto all = arguments(server.url());
    all.erase(all.end() - 2, all.end());
    all.insert(all.end(), words.begin(), words.end());
    return ChildProcess::run(
        VELLORA, all, {.input = canary.token() + "\n", .environment = {{"HOME", folder.path().string()}}});
  }

  [[nodiscard]] std::string log() const {
    std::ifstream stream(folder.file("log"), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  ChildProcess::Ended run(const std::vector<std::string>& words) const {
    return ChildProcess::run(
        VELLORA, words, {.input = canary.token() + "\n", .environment = {{"HOME", folder.path().string()}}});
  }

  void expectNowhere(const ChildProcess::Ended& ended) const {
    EXPECT_FALSE(canary.isIn(ended.out)) << ended.out;
    EXPECT_FALSE(canary.isIn(ended.err)) << ended.err;
    EXPECT_THAT(canary.filesIn(folder.path()), IsEmpty());
  }

  /// Looks a type up whose name is a form of the token.
  void expectCleanLog(const std::vector<std::string>& words) const {
    const auto ended = lookUp(words);
    EXPECT_EQ(ended.exitCode, 0) << ended.err;
    EXPECT_FALSE(canary.isIn(ended.err)) << ended.err;
    EXPECT_THAT(log(), HasSubstr("sObjectForName(_:), name: [token]"));
    EXPECT_FALSE(canary.isIn(log())) << log();
    std::filesystem::remove(folder.file("log"));
  }

  const TokenCanary canary;
  const TemporaryFolder folder;
  ScriptedServer server;
};

TEST_F(SecretsTest, TheTokenIsNowhereWhateverTheServerDoes) {
  const std::string token = canary.token();
  ScriptedServer elsewhere;
  const std::vector<std::pair<const char*, ScriptedServer::Reply>> faults{
      {"closes", {"", Then::close}},
      {"resets", {"", Then::reset}},
      {"half a head", {"HTTP/1.1 200 OK\r\nX-Echo: " + token, Then::close}},
      {"half a body", {"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n" + token, Then::close}},
      {"trickles", {"HTTP/1.1 200 OK\r\nContent-Length: 99999\r\n\r\n" + token, Then::trickle}},
      {"no HTTP", {token + "\r\n\r\n", Then::close}},
      {"a bad length", {"HTTP/1.1 200 OK\r\nContent-Length: " + token + "\r\n\r\n", Then::close}},
      {"strange packing", ScriptedServer::http("200 OK", token, {"Content-Encoding: " + token})},
      {"redirects", ScriptedServer::http("302 Found", "", {"Location: " + elsewhere.url() + "/" + token})},
      {"redirects to it", ScriptedServer::http("302 Found", "", {"Location: http://" + token + "/"})},
      {"an error", ScriptedServer::http("401 Unauthorized", "no")},
  };
  for (const auto& [name, reply] : faults) {
    SCOPED_TRACE(name);
    server.replyAlways(reply);
    const auto ended = run(impatientArguments(server.url()));
    EXPECT_EQ(ended.exitCode, 5) << ended.err;
    expectNowhere(ended);
  }
  EXPECT_EQ(elsewhere.connections(), 0U);
  EXPECT_THAT(server.requests(), Each(HasSubstr("Authorization: Bearer " + token + "\r\n")));
}

/// `text` with a dot behind each character.
std::string scattered(std::string_view text) {
  std::string all;
  for (const char character : text) all.append(1, character).append(".");
  return all;
}

std::string quoted(const std::string& text) {
  return std::string(json::encode(text).value().view());
}

TEST_F(SecretsTest, TheTokenSentBackInAnyFormIsInNoLogLine) {
  const std::string token = canary.token();
  for (const std::string& form : {token, token.substr(5, 8), std::string(token.rbegin(), token.rend()),
                                  scattered(token), canary.traces()[2], canary.traces()[4]}) {
    SCOPED_TRACE(form);
    const std::string name = quoted(form);
    server.replyAlways(ScriptedServer::http(
        "200 OK", R"({"sobjects":[{"keyPrefix":"001","createable":true,"labelPlural":"","name":)" + name +
                      ",\"label\":" + name + R"(}],"themeItems":[{"colors":[],"icons":[],"name":)" + name +
                      "}]}"));
    const std::vector<std::string> words{"ids", "001000000000001"};
    expectCleanLog(words);
    const auto asked = server.requests().size();
    expectCleanLog(words);  // now from the cache
    expectCleanLog({"--offline", words[0], words[1]});
    EXPECT_EQ(server.requests().size(), asked);
    std::filesystem::remove(folder.file("cache.sqlite"));
  }
}

TEST_F(SecretsTest, TheTokenSentBackAsAKeyIsInNoErrorText) {
  const std::string token = canary.token();
  for (const std::string& form : {token, token.substr(5, 8), std::string(token.rbegin(), token.rend()),
                                  scattered(token.substr(0, 30))}) {
    SCOPED_TRACE(form);
    server.replyAlways(ScriptedServer::http("200 OK", "{" + quoted(form) + ":7}"));
    const auto ended = lookUp({"compact-layouts", "Account"});
    EXPECT_EQ(ended.exitCode, 5);
    EXPECT_THAT(ended.err, HasSubstr("[token]"));
    expectNowhere(ended);
    const auto whole = lookUp({"-o", "json", "compact-layouts", "Account"});
    EXPECT_THAT(whole.out, HasSubstr("[token]"));
    expectNowhere(whole);
    expectNowhere(lookUp({"-v", "compact-layouts", "Account"}));
  }
}

TEST_F(SecretsTest, TheTokenIsNoArgumentOfTheRunningCommand) {
  ChildProcess running(VELLORA, arguments(server.url()),
                       {.input = canary.token(), .environment = {{"HOME", folder.path().string()}}});
  ASSERT_TRUE(server.waitForRequests(1));  // which are never answered
  EXPECT_FALSE(canary.isInArgumentsOf(running.id()));
  running.sendSignal(SIGINT);
  expectNowhere(running.wait());
}

TEST_F(SecretsTest, ATokenForPlainHttpElsewhereIsRefusedWithAReason) {
  const auto ended = run(arguments("http://0.0.0.0:" + std::to_string(server.port())));
  EXPECT_EQ(ended.exitCode, 5);
  EXPECT_THAT(ended.err, HasSubstr("over http everybody on the way could read the token: give the server's "
                                   "https address"));
  EXPECT_EQ(server.connections(), 0U);
  expectNowhere(ended);
}

}  // namespace
}  // namespace vellora::command
