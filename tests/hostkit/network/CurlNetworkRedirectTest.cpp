#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "hostkit/network/CurlNetwork.h"
#include "tests/hostkit/network/CurlNetworkFixture.h"
#include "tests/support/NetworkAnswer.h"
#include "tests/support/Requests.h"
#include "tests/support/ScriptedServer.h"

namespace vellora::hostkit {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;
using tests::NetworkAnswer;
using tests::ScriptedServer;

using CurlNetworkRedirectTest = CurlNetworkFixture;

TEST_F(CurlNetworkRedirectTest, FollowsARedirectWithinTheServerWithItsToken) {
  server.reply(ScriptedServer::http("302 Found", "moved", {"Location: /elsewhere?q=1"}));
  server.reply(ScriptedServer::http("307 Temporary Redirect", "", {"Location: " + server.url() + "/here"}));
  server.reply(ScriptedServer::http("200 OK", "found"));
  const NetworkAnswer answer = ask("/theme");

  EXPECT_EQ(answer.body(), "found");
  EXPECT_EQ(answer.response->url, server.url() + "/here");
  const auto requests = server.requests();
  ASSERT_EQ(requests.size(), 3U);
  EXPECT_THAT(requests[1], AllOf(StartsWith("GET /elsewhere?q=1 HTTP/1.1\r\n"), HasSubstr(canary)));
  EXPECT_THAT(requests[2], AllOf(StartsWith("GET /here HTTP/1.1\r\n"), HasSubstr(canary)));
}

TEST_F(CurlNetworkRedirectTest, FollowsEachStatusThatMovesAGetAndNoOther) {
  for (const int status : {301, 302, 303, 307, 308}) {
    server.reply(ScriptedServer::http(std::to_string(status) + " Moved", "", {"Location: /there"}));
    server.reply(ScriptedServer::http("200 OK", "there"));
    EXPECT_EQ(ask("/here").body(), "there") << status;
  }
  const auto sent = server.requests().size();
  server.reply(ScriptedServer::http("201 Created", "here", {"Location: /there"}));
  server.reply(ScriptedServer::http("300 Multiple Choices", "", {"Location: /there"}));
  EXPECT_EQ(ask("/here").body(), "here");
  expectError(ask("/here"), Kind::errorStatus);
  EXPECT_EQ(server.requests().size(), sent + 2);
}

TEST_F(CurlNetworkRedirectTest, FollowsNoRedirectElsewhere) {
  ScriptedServer evil;
  evil.replyAlways(ScriptedServer::http("200 OK", "evil"));
  for (const std::string& location :
       {evil.url() + "/theme", "//" + evil.hostAndPort() + "/theme",
        "http://localhost:" + std::to_string(server.port()) + "/theme",
        "https://" + server.hostAndPort() + "/theme", "ftp://" + server.hostAndPort() + "/theme",
        std::string("file:///etc/hostname"), "http://a:b@" + server.hostAndPort() + "/",
        std::string("http://[bad/"), "http://" + canary + "/"}) {
    server.reply(ScriptedServer::http("302 Found", "", {"Location: " + location}));
    expectError(ask("/theme"), Kind::refusedRedirect);
  }
  EXPECT_EQ(server.requests().size(), 9U);
  EXPECT_EQ(evil.connections(), 0U);
}

TEST_F(CurlNetworkRedirectTest, ARefusedRedirectSaysWhereItLed) {
  server.reply(ScriptedServer::http("302 Found", "", {"Location: http://other.example/x?token=" + canary}));
  EXPECT_EQ(ask("/theme").error->localizedDescription(),
            server.hostAndPort() +
                " redirects to http://other.example:80, which is not followed: "
                "use that as the server's address if you trust it");
}

TEST_F(CurlNetworkRedirectTest, GivesUpOnARedirectRoundInCircles) {
  server.replyAlways(ScriptedServer::http("302 Found", "", {"Location: /again"}));
  expectError(ask("/theme"), Kind::refusedRedirect);
  EXPECT_EQ(server.requests().size(), 6U);
}

TEST_F(CurlNetworkRedirectTest, ALocationBehindTheBodyRedirectsNobody) {
  server.reply({"HTTP/1.1 302 Found\r\nTransfer-Encoding: chunked\r\n\r\n0\r\nLocation: /there\r\n\r\n"});
  expectError(ask("/theme"), Kind::errorStatus);
  EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(CurlNetworkRedirectTest, ARedirectThatIsCutOffIsNotFollowed) {
  server.reply({"HTTP/1.1 302 Found\r\nLocation: /there\r\nContent-Length: 10\r\n\r\nhalf", Then::close});
  expectError(ask("/here"), Kind::connectionLost);
  EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(CurlNetworkRedirectTest, ARedirectStatusThatLeadsNowhereIsAnErrorStatus) {
  server.reply(ScriptedServer::http("302 Found", "no location"));
  EXPECT_EQ(ask("/theme").error->localizedDescription(), "302 for /theme: Found");
}

}  // namespace
}  // namespace vellora::hostkit
