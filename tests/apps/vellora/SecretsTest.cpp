#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/support/ChildProcess.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TokenCanary.h"

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
            "--wait",       "0.5",
            "names",        "Account"};
  }

  ChildProcess::Ended run(const std::string& address) const {
    return ChildProcess::run(
        VELLORA, arguments(address),
        {.input = canary.token() + "\n", .environment = {{"HOME", folder.path().string()}}});
  }

  void expectNowhere(const ChildProcess::Ended& ended) const {
    EXPECT_FALSE(canary.isIn(ended.out)) << ended.out;
    EXPECT_FALSE(canary.isIn(ended.err)) << ended.err;
    EXPECT_THAT(canary.filesIn(folder.path()), IsEmpty());
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
    const auto ended = run(server.url());
    EXPECT_EQ(ended.exitCode, 5) << ended.err;
    expectNowhere(ended);
  }
  EXPECT_EQ(elsewhere.connections(), 0U);
  EXPECT_THAT(server.requests(), Each(HasSubstr("Authorization: Bearer " + token + "\r\n")));
}

TEST_F(SecretsTest, TheTokenIsNoArgumentOfTheRunningCommand) {
  ChildProcess running(VELLORA, arguments(server.url()),
                       {.input = canary.token(), .environment = {{"HOME", folder.path().string()}}});
  ASSERT_TRUE(server.waitForRequests(1));  // which are never answered
  EXPECT_FALSE(canary.isInArgumentsOf(running.id()));
  expectNowhere(running.wait());
}

TEST_F(SecretsTest, ATokenForPlainHttpElsewhereIsRefusedWithAReason) {
  const auto ended = run("http://0.0.0.0:" + std::to_string(server.port()));
  EXPECT_EQ(ended.exitCode, 5);
  EXPECT_THAT(ended.err, HasSubstr("over http everybody on the way could read the token: give the server's "
                                   "https address"));
  EXPECT_EQ(server.connections(), 0U);
  expectNowhere(ended);
}

}  // namespace
}  // namespace vellora::command
