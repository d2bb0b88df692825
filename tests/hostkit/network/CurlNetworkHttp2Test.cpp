#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/network/CurlNetwork.h"
#include "tests/hostkit/bodies/BodiesCache.h"
#include "tests/support/Http2Server.h"
#include "tests/support/NetworkAnswer.h"
#include "tests/support/Requests.h"
#include "tests/support/ScriptedHttp2Server.h"

namespace vellora::hostkit {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using tests::get;
using tests::Http2Server;
using tests::NetworkAnswer;
using tests::ScriptedHttp2Server;

/// A network and a server that have nothing but HTTP/2 in common.
class CurlNetworkHttp2Test : public testing::Test {
 protected:
  using Kind = CurlNetworkError::Kind;

  std::future<NetworkAnswer> send(const std::string& path) { return tests::send(*network, get(path)); }

  Http2Server server;
  std::shared_ptr<CurlNetwork> network =
      CurlNetwork::make({.server = server.url(),
                         .token = [] { return std::optional<std::string>("token-of-http2"); },
                         .caFile = server.certificate()})
          .value();
};

TEST_F(CurlNetworkHttp2Test, DeliversBodyAndStatusAndSendsTheToken) {
  server.serve("/theme", "over HTTP/2");

  const NetworkAnswer answer = send("/theme").get();

  EXPECT_EQ(answer.body(), "over HTTP/2");
  EXPECT_EQ(answer.status(), 200);
  EXPECT_THAT(server.stop(), AllOf(HasSubstr(":path: /theme\n"), HasSubstr("Bearer token-of-http2\n"),
                                   HasSubstr("accept-encoding: gzip\n")));
}

TEST_F(CurlNetworkHttp2Test, AnErrorStatusIsToldWithoutAReasonPhrase) {
  const NetworkAnswer answer = send("/missing").get();
  ASSERT_NE(answer.errorAs<CurlNetworkError>(), nullptr);
  EXPECT_EQ(answer.errorAs<CurlNetworkError>()->statusCode, 404);
  EXPECT_EQ(answer.error->localizedDescription(), "404 for /missing");
}

TEST_F(CurlNetworkHttp2Test, UsesItsConnectionAgain) {
  server.serve("/theme", "x");
  for (int i = 0; i < 5; ++i) EXPECT_EQ(send("/theme").get().body(), "x");
  EXPECT_THAT(server.stop(), AllOf(HasSubstr("[id=1]"), Not(HasSubstr("[id=2]"))));
}

TEST_F(CurlNetworkHttp2Test, AnswersManyRequestsThatAreUnderWayAtOnce) {
  const std::string large(300'000, 'x');
  server.serve("/large", large);
  std::vector<std::future<NetworkAnswer>> answers;
  for (int i = 0; i < 24; ++i) answers.push_back(send("/large"));
  for (auto& answer : answers) EXPECT_TRUE(answer.get().body() == large);
}

TEST_F(CurlNetworkHttp2Test, AServerThatDiesIsAnErrorForEachRequest) {
  server.serve("/theme", "x");
  EXPECT_EQ(send("/theme").get().body(), "x");  // so that there is a connection
  static_cast<void>(server.stop());
  std::vector<std::future<NetworkAnswer>> answers;
  for (int i = 0; i < 10; ++i) answers.push_back(send("/theme"));
  for (auto& pending : answers) {
    const NetworkAnswer answer = pending.get();
    const auto* error = answer.errorAs<CurlNetworkError>();
    ASSERT_NE(error, nullptr);
    EXPECT_THAT(error->kind, testing::AnyOf(Kind::unreachable, Kind::connectionLost));
    EXPECT_THAT(error->text, Not(HasSubstr("token-of-http2")));
  }
}

class CurlNetworkHttp2ScriptTest : public testing::Test {
 protected:
  using Kind = CurlNetworkError::Kind;

  static std::shared_ptr<CurlNetwork> networkTo(const ScriptedHttp2Server& server) {
    return CurlNetwork::make({.server = server.url(), .caFile = server.certificate()}).value();
  }

  static void expectError(const NetworkAnswer& answer, Kind kind) {
    ASSERT_NE(answer.errorAs<CurlNetworkError>(), nullptr);
    EXPECT_EQ(answer.errorAs<CurlNetworkError>()->kind, kind);
  }
};

TEST_F(CurlNetworkHttp2ScriptTest, ARequestWhoseKeptConnectionEndsIsSentOnAFreshOne) {
  ScriptedHttp2Server server({"answer"});
  const auto network = networkTo(server);
  EXPECT_EQ(tests::answerTo(*network, get("/theme")).body(), "{}");
  EXPECT_EQ(tests::answerTo(*network, get("/theme")).body(), "{}");
  EXPECT_THAT(server.stop(), EndsWith("\nasked 1.\nasked 1.\nasked 2.\n"));
}

TEST_F(CurlNetworkHttp2ScriptTest, ARequestIsSentAgainOnlyOnce) {
  ScriptedHttp2Server server({"answer", ""});
  const auto network = networkTo(server);
  EXPECT_EQ(tests::answerTo(*network, get("/theme")).body(), "{}");
  expectError(tests::answerTo(*network, get("/theme")), Kind::connectionLost);
  EXPECT_THAT(server.stop(), EndsWith("\nasked 1.\nasked 1.\nasked 2.\n"));
}

TEST_F(CurlNetworkHttp2ScriptTest, ARequestWhoseConnectionWasNewIsNotSentAgain) {
  ScriptedHttp2Server server({""});
  const auto network = networkTo(server);
  expectError(tests::answerTo(*network, get("/theme")), Kind::connectionLost);
  EXPECT_THAT(server.stop(), EndsWith("\nasked 1.\n"));
}

// Over HTTP/1.1 what waits before a request was not asked for, and the connection is not used again.
TEST_F(CurlNetworkHttp2ScriptTest, AConnectionIsUsedAgainThoughHalfOfAFrameWaitsWithinTls) {
  ScriptedHttp2Server server({"cut answer"});
  const auto network = networkTo(server);
  EXPECT_EQ(tests::answerTo(*network, get("/theme")).body(), "{}");
  EXPECT_EQ(tests::answerTo(*network, get("/theme")).body(), "{}");
  EXPECT_THAT(server.stop(), EndsWith("\nasked 1.\nasked 1.\n"));
}

// Over HTTP/1.1 a 304 ends with its head.
TEST_F(CurlNetworkHttp2ScriptTest, ANotModifiedThatStallsHasNotComeInTime) {
  const BodiesCache host;
  ScriptedHttp2Server server({"answer unchanged"});
  const auto network =
      CurlNetwork::make({.server = server.url(), .caFile = server.certificate(), .bodies = host.cache})
          .value();
  EXPECT_EQ(tests::answerTo(*network, get("/theme")).body(), "{}");
  expectError(tests::answerTo(*network, get("/theme", 0.5)), Kind::timedOut);
}

TEST_F(CurlNetworkHttp2ScriptTest, AConnectionHasOneRequestAtATime) {
  ScriptedHttp2Server server({"silent"});
  const auto network = networkTo(server);
  const auto first = tests::send(*network, get("/theme"));
  server.waitUntilWritten("asked 1.");
  const auto second = tests::send(*network, get("/theme"));
  server.waitUntilWritten("asked 2.\n");
  EXPECT_THAT(server.stop(), MatchesRegex("port [0-9]+\nasked 1.\nasked 2.\n"));
}

}  // namespace
}  // namespace vellora::hostkit
