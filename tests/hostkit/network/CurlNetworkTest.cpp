#include "hostkit/network/CurlNetwork.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <future>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/Requests.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/ScriptedServer.h"

namespace vellora::hostkit {
namespace {

using CorvaneSDK::NetRequest;
using Kind = CurlNetworkError::Kind;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using tests::closedPort;
using tests::get;
using tests::ScopedEnvironment;
using tests::ScriptedServer;
using Then = ScriptedServer::Then;

constexpr auto longEnough = std::chrono::seconds(60);
const std::string canary = "canary-token-5f1c";

/// What a completion was called with.
struct Answer {
  std::optional<Data> data;
  std::optional<Error> error;
  std::optional<URLResponse> response;

  [[nodiscard]] std::string body() const { return data ? std::string(data->view()) : "(no body)"; }
  [[nodiscard]] const CurlNetworkError& curlError() const { return *error->as<CurlNetworkError>(); }
};

std::shared_ptr<CurlNetwork> makeNetwork(CurlNetwork::Options options) {
  const auto network = CurlNetwork::make(std::move(options));
  return network ? network.value() : nullptr;
}

std::future<Answer> send(CurlNetwork& network, const NetRequest& request) {
  auto promise = std::make_shared<std::promise<Answer>>();
  network.sendRequest(request, [promise](auto data, auto error, auto response) {
    promise->set_value({std::move(data), std::move(error), std::move(response)});
  });
  return promise->get_future();
}

Answer answerOf(CurlNetwork& network, const NetRequest& request) {
  std::future<Answer> answer = send(network, request);
  if (answer.wait_for(longEnough) != std::future_status::ready) return {};
  return answer.get();
}

/// One server, one network with a token, and what became of its requests.
class CurlNetworkTest : public testing::Test {
 protected:
  Answer ask(const std::string& path, double timeout = 60) { return answerOf(*network, get(path, timeout)); }

  /// Expects `answer` to be an error of that kind alone, in one line and without the token.
  static void expectError(const Answer& answer, Kind kind) {
    EXPECT_FALSE(answer.data);
    EXPECT_FALSE(answer.response);
    ASSERT_TRUE(answer.error);
    EXPECT_EQ(answer.curlError().kind, kind);
    EXPECT_THAT(answer.error->localizedDescription(), AllOf(Not(HasSubstr("\n")), Not(HasSubstr(canary))));
  }

  void remake(CurlNetwork::Options options) { network = makeNetwork(std::move(options)); }

  ScriptedServer server;
  std::shared_ptr<CurlNetwork> network =
      makeNetwork({.server = server.url(), .token = [] { return std::optional(canary); }});
};

TEST_F(CurlNetworkTest, SendsPathAndQueryByteForByte) {
  server.replyAlways(ScriptedServer::http("200 OK", "{}"));
  ask("/services/data/v50.0/search/layout?q=Account,Contact");
  ask("/services/data/v50.0/search/layout?q=");
  ask("/services/data/v50.0/query?q=SELECT%20Id%20%3D%20'00B'&r=$!()*+;:@_~%C3%A9%2b");
  ask("/a/../b/./c//d");

  const auto requests = server.requests();
  ASSERT_EQ(requests.size(), 4U);
  EXPECT_THAT(requests[0],
              StartsWith("GET /services/data/v50.0/search/layout?q=Account,Contact HTTP/1.1\r\n"));
  EXPECT_THAT(requests[1], StartsWith("GET /services/data/v50.0/search/layout?q= HTTP/1.1\r\n"));
  EXPECT_THAT(requests[2], StartsWith("GET /services/data/v50.0/query?q=SELECT%20Id%20%3D%20'00B'"
                                      "&r=$!()*+;:@_~%C3%A9%2b HTTP/1.1\r\n"));
  EXPECT_THAT(requests[3], StartsWith("GET /a/../b/./c//d HTTP/1.1\r\n"));
}

TEST_F(CurlNetworkTest, KeepsThePathUnderWhichTheServerLives) {
  server.replyAlways(ScriptedServer::http("200 OK", "{}"));
  remake({.server = server.url() + "/records/eu/"});
  ask("/services/data/v50.0/theme");
  EXPECT_THAT(server.requests()[0], StartsWith("GET /records/eu/services/data/v50.0/theme HTTP/1.1\r\n"));
}

TEST_F(CurlNetworkTest, ABrokenPipeOnItsThreadDoesNotEndTheProcess) {
  const auto blocksBrokenPipe = [] {
    sigset_t blocked;
    ::pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    return sigismember(&blocked, SIGPIPE) == 1;
  };
  ASSERT_FALSE(blocksBrokenPipe()) << "its thread would inherit that";
  server.reply(ScriptedServer::http("200 OK", "{}"));
  std::promise<bool> blocks;
  network->sendRequest(get("/theme"),
                       [&](const auto&, const auto&, const auto&) { blocks.set_value(blocksBrokenPipe()); });
  EXPECT_TRUE(blocks.get_future().get());
  EXPECT_FALSE(blocksBrokenPipe()) << "the host's threads keep their own way";
}

TEST_F(CurlNetworkTest, SendsTokenUserAgentAndRequestHeaders) {
  server.replyAlways(ScriptedServer::http("200 OK", "{}"));
  URLRequest request = get("/theme").base();
  request.headers = {{"X-Trace", "7"}, {"X-Empty", ""}};
  answerOf(*network, NetRequest(request));
  EXPECT_THAT(server.requests()[0],
              AllOf(HasSubstr("Authorization: Bearer " + canary + "\r\n"), HasSubstr("User-Agent: vellora/"),
                    HasSubstr("Accept: application/json\r\n"), HasSubstr("X-Trace: 7\r\n"),
                    HasSubstr("X-Empty:\r\n")));
}

TEST_F(CurlNetworkTest, DeliversBodyStatusAndHeaders) {
  server.reply(ScriptedServer::http("200 OK", "{\"a\": 1}", {"X-Limit: 5", "X-MULTI: a", "x-multi: b"}));
  const Answer answer = ask("/services/data/v50.0/theme?q=1");
  EXPECT_EQ(answer.body(), "{\"a\": 1}");
  EXPECT_FALSE(answer.error);
  ASSERT_TRUE(answer.response);
  EXPECT_EQ(answer.response->url, server.url() + "/services/data/v50.0/theme?q=1");
  EXPECT_EQ(answer.response->statusCode, 200);
  EXPECT_EQ(answer.response->headers, (std::map<std::string, std::string>{
                                          {"content-length", "8"}, {"x-limit", "5"}, {"x-multi", "a, b"}}));
}

TEST_F(CurlNetworkTest, DeliversTheBodyOfAnErrorStatus) {
  server.reply(ScriptedServer::http("503 Service Unavailable", "[{\"code\":\"BUSY\"}]"));
  const Answer answer = ask("/theme");
  EXPECT_EQ(answer.body(), "[{\"code\":\"BUSY\"}]");
  EXPECT_FALSE(answer.error);
  EXPECT_EQ(answer.response->statusCode, 503);
}

TEST_F(CurlNetworkTest, AnAnswerWithoutABodyHasAnEmptyOne) {
  server.reply(ScriptedServer::http("200 OK"));
  server.reply({"HTTP/1.1 204 No Content\r\n\r\n"});
  for (const int status : {200, 204}) {
    const Answer answer = ask("/theme");
    ASSERT_TRUE(answer.data);
    EXPECT_EQ(answer.body(), "");
    EXPECT_FALSE(answer.error);
    EXPECT_EQ(answer.response->statusCode, status);
  }
}

TEST_F(CurlNetworkTest, PutsAChunkedBodyTogether) {
  server.reply({"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n2\r\nde\r\n0\r\n\r\n"});
  EXPECT_EQ(ask("/theme").body(), "abcde");
}

TEST_F(CurlNetworkTest, WhatFollowsAChunkedBodyIsAmongTheHeaders) {
  server.reply({"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n0\r\nX-Sum: 7\r\n\r\n"});
  const Answer answer = ask("/theme");
  EXPECT_EQ(answer.body(), "abc");
  EXPECT_EQ(answer.response->headers.at("x-sum"), "7");
}

TEST_F(CurlNetworkTest, HalfAHeadIsAnError) {
  server.reply({"HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nX-Ha", Then::close});
  expectError(ask("/theme"), Kind::connectionLost);
  server.reply({"HTTP/1.1 200 OK\n\nlines of other systems", Then::close});
  EXPECT_EQ(ask("/theme").body(), "lines of other systems");
}

TEST_F(CurlNetworkTest, AHundredMegabytesAreAnErrorUnlessTheyAreAllowed) {
  constexpr std::size_t megabyte = 1024 * 1024;
  const auto hundred = ScriptedServer::http("200 OK", std::string(100 * megabyte, 'x'));
  server.reply(hundred);
  expectError(ask("/theme"), Kind::tooLarge);
  remake({.server = server.url(), .maxBodyBytes = 100 * megabyte});
  server.reply(hundred);
  EXPECT_EQ(ask("/theme").data->size(), 100 * megabyte);
}

TEST_F(CurlNetworkTest, AnAnnouncedLengthBeyondAllMemoryEndsNoProcess) {
  remake({.server = server.url(), .maxBodyBytes = std::numeric_limits<std::size_t>::max()});
  server.reply({"HTTP/1.1 200 OK\r\nContent-Length: 9223372036854775806\r\n\r\nhalf", Then::close});
  expectError(ask("/theme"), Kind::connectionLost);
}

TEST_F(CurlNetworkTest, ReadsABodyThatEndsWithTheConnection) {
  server.reply({"HTTP/1.1 200 OK\r\nConnection: close\r\n\r\nto the end", Then::close});
  EXPECT_EQ(ask("/theme").body(), "to the end");
}

TEST_F(CurlNetworkTest, AnInterimAnswerLeavesNoTrace) {
  server.reply(
      {"HTTP/1.1 103 Early Hints\r\nLink: </a>\r\n\r\n" + ScriptedServer::http("200 OK", "x").bytes});
  const Answer answer = ask("/theme");
  EXPECT_EQ(answer.body(), "x");
  EXPECT_EQ(answer.response->headers, (std::map<std::string, std::string>{{"content-length", "1"}}));
}

TEST_F(CurlNetworkTest, ReusesItsConnection) {
  server.replyAlways(ScriptedServer::http("200 OK", "{}"));
  EXPECT_EQ(ask("/one").body(), "{}");
  EXPECT_EQ(ask("/two").body(), "{}");
  EXPECT_EQ(server.connections(), 1U);
}

TEST_F(CurlNetworkTest, AsksForTheTokenForEachRequest) {
  server.replyAlways(ScriptedServer::http("200 OK", "{}"));
  int asked = 0;
  std::thread::id thread;
  remake({.server = server.url(), .token = [&]() -> std::optional<std::string> {
            thread = std::this_thread::get_id();
            if (++asked == 3) return std::nullopt;
            return "token" + std::to_string(asked);
          }});
  for (int i = 0; i < 3; ++i) ask("/theme");

  EXPECT_EQ(thread, std::this_thread::get_id());
  const auto requests = server.requests();
  EXPECT_THAT(requests[0], HasSubstr("Authorization: Bearer token1\r\n"));
  EXPECT_THAT(requests[1], HasSubstr("Authorization: Bearer token2\r\n"));
  EXPECT_THAT(requests[2], Not(HasSubstr("Authorization")));
}

TEST_F(CurlNetworkTest, TheRequestsOwnAuthorizationStandsAlone) {
  server.replyAlways(ScriptedServer::http("200 OK", "{}"));
  URLRequest request = get("/theme").base();
  request.headers = {{"authorization", "Basic eDp5"}};
  answerOf(*network, NetRequest(request));
  EXPECT_THAT(server.requests()[0],
              AllOf(HasSubstr("authorization: Basic eDp5\r\n"), Not(HasSubstr(canary))));
}

TEST_F(CurlNetworkTest, DoesNotSendATokenThatLeavesItsLine) {
  for (const std::string& bad : {canary + "\r\nX-Evil: 1", canary + "\n", "two " + canary, canary + "\x7f",
                                 canary + "\xc3\xa9", std::string("nul\0", 4) + canary, std::string()}) {
    remake({.server = server.url(), .token = [bad] { return std::optional(bad); }});
    const Answer answer = ask("/theme");
    expectError(answer, Kind::badToken);
    EXPECT_THAT(answer.error->localizedDescription(), HasSubstr(server.hostAndPort()));
  }
  EXPECT_EQ(server.connections(), 0U);
}

TEST_F(CurlNetworkTest, SendsNoTokenOverHttpToWhatIsNoLoopbackAddressUnlessThatIsAllowed) {
  server.replyAlways(ScriptedServer::http("200 OK", "{}"));
  // This machine too, but that cannot be told by the address.
  const std::string address = "http://0.0.0.0:" + std::to_string(server.port());
  const auto token = [] { return std::optional(canary); };
  remake({.server = address, .token = token});
  expectError(ask("/theme"), Kind::unprotectedToken);
  EXPECT_EQ(server.connections(), 0U);

  remake({.server = address, .token = token, .allowTokenOverPlainHttp = true});
  EXPECT_EQ(ask("/theme").body(), "{}");
  EXPECT_THAT(server.requests()[0], HasSubstr(canary));
}

TEST_F(CurlNetworkTest, DoesNotSendAHeaderThatLeavesItsLine) {
  for (const auto& [name, value] : std::map<std::string, std::string>{
           {"X-A", "a\r\nX-Evil: 1"}, {"X-B", "a\nb"}, {"X-C\r\nX-Evil", "1"}, {"X-D: 1", "1"}, {"", "1"}}) {
    URLRequest request = get("/theme").base();
    request.headers = {{name, value}};
    expectError(answerOf(*network, NetRequest(request)), Kind::invalidRequest);
  }
  EXPECT_EQ(server.connections(), 0U);
}

TEST_F(CurlNetworkTest, SendsNothingButGetsWithoutABody) {
  URLRequest posting = get("/theme").base();
  posting.httpMethod = "POST";
  URLRequest withBody = get("/theme").base();
  withBody.body = Data(std::string("x"));
  expectError(answerOf(*network, NetRequest(posting)), Kind::invalidRequest);
  expectError(answerOf(*network, NetRequest(withBody)), Kind::invalidRequest);
  EXPECT_EQ(server.connections(), 0U);
}

TEST_F(CurlNetworkTest, DoesNotSendARequestThatNamesAServer) {
  ScriptedServer evil;
  for (const std::string& url : {evil.url() + "/theme", "//" + evil.hostAndPort() + "/theme",
                                 std::string("theme"), std::string("?q=1")}) {
    expectError(ask(url), Kind::invalidRequest);
  }
  EXPECT_EQ(server.connections(), 0U);
  EXPECT_EQ(evil.connections(), 0U);
}

TEST_F(CurlNetworkTest, ARefusedConnectionIsUnreachable) {
  const int port = closedPort();
  remake({.server = "http://127.0.0.1:" + std::to_string(port)});
  const Answer answer = ask("/services/data/v50.0/theme?q=1");
  expectError(answer, Kind::unreachable);
  EXPECT_THAT(
      answer.error->localizedDescription(),
      AllOf(StartsWith("no connection to 127.0.0.1:" + std::to_string(port) + "/services/data/v50.0/theme ("),
            HasSubstr("check the address, and that the server runs"), Not(HasSubstr("q=1"))));
}

TEST_F(CurlNetworkTest, AConnectionThatEndsBeforeTheAnswerIsLost) {
  server.replyAlways({"", Then::close});
  expectError(ask("/theme"), Kind::connectionLost);
  server.replyAlways({"", Then::reset});
  expectError(ask("/theme"), Kind::connectionLost);
  server.replyAlways({"HTTP/1.1 200 OK\r\nContent-Le", Then::reset});
  expectError(ask("/theme"), Kind::connectionLost);
}

TEST_F(CurlNetworkTest, HalfABodyIsAnError) {
  server.reply({"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf", Then::close});
  expectError(ask("/theme"), Kind::connectionLost);
  server.reply({"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n4\r\nhalf\r\n", Then::close});
  expectError(ask("/theme"), Kind::connectionLost);
  server.reply({"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf", Then::reset});
  expectError(ask("/theme"), Kind::connectionLost);
}

TEST_F(CurlNetworkTest, WhatIsNotHttpIsAProtocolError) {
  server.reply({"SSH-2.0-OpenSSH_9.2\r\n", Then::close});
  expectError(ask("/theme"), Kind::protocol);
}

TEST_F(CurlNetworkTest, TheRequestsTimeCoversWaitingForTheAnswer) {
  expectError(ask("/silent", 0.2), Kind::timedOut);
}

TEST_F(CurlNetworkTest, TheRequestsTimeCoversASlowBody) {
  server.reply({"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf"});
  expectError(ask("/theme", 0.2), Kind::timedOut);
}

TEST_F(CurlNetworkTest, TheRequestsTimeCoversWaitingForAConnection) {
  std::vector<std::future<Answer>> patient;  // as many as the network has under way at once
  for (int i = 0; i < 8; ++i) patient.push_back(send(*network, get("/silent")));
  std::vector<std::future<Answer>> answers;
  for (int i = 0; i < 30; ++i) answers.push_back(send(*network, get("/silent", 0.2)));
  for (auto& answer : answers) {
    ASSERT_EQ(answer.wait_for(longEnough), std::future_status::ready);
    expectError(answer.get(), Kind::timedOut);
  }
  for (const auto& each : patient) {
    EXPECT_EQ(each.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
  }
}

TEST_F(CurlNetworkTest, ATimeThatIsNoPositiveNumberIsNotTheRequestsEnd) {
  server.replyAlways(ScriptedServer::http("200 OK", "{}"));
  for (const double timeout : {0.0, -1.0, std::nan(""), HUGE_VAL, -HUGE_VAL}) {
    EXPECT_EQ(ask("/theme", timeout).body(), "{}") << timeout;
  }
}

TEST_F(CurlNetworkTest, ABodyOverTheLimitIsAnError) {
  remake({.server = server.url(), .maxBodyBytes = 10});
  server.reply(ScriptedServer::http("200 OK", "0123456789"));
  EXPECT_EQ(ask("/theme").body(), "0123456789");
  server.reply(ScriptedServer::http("200 OK", "0123456789a"));
  expectError(ask("/theme"), Kind::tooLarge);
  server.reply({"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nb\r\n0123456789a\r\n0\r\n\r\n"});
  const Answer answer = ask("/theme");
  expectError(answer, Kind::tooLarge);
  EXPECT_EQ(answer.error->localizedDescription(), "too large a body from " + server.hostAndPort() +
                                                      "/theme: raise the limit on bodies if it is right");
}

// gzip of 1,000 letters "a", by Python's gzip.compress(b"a" * 1000, mtime=0).
const std::string thousandLettersZipped(
    "\x1f\x8b\x08\x00\x00\x00\x00\x00\x02\x03\x4b\x4c\x1c\x05\xa3\x60\x14\x0c\x77\x00\x00\x03\xda\x38\x9a\xe8"
    "\x03"
    "\x00\x00",
    29);

TEST_F(CurlNetworkTest, AsksForGzipAndUnpacksIt) {
  server.reply(ScriptedServer::http("200 OK", thousandLettersZipped, {"Content-Encoding: gzip"}));
  EXPECT_EQ(ask("/theme").body(), std::string(1000, 'a'));
  EXPECT_THAT(server.requests()[0], HasSubstr("Accept-Encoding: gzip\r\n"));
}

TEST_F(CurlNetworkTest, CountsTheBodyUnpacked) {
  remake({.server = server.url(), .maxBodyBytes = 999});
  server.reply(ScriptedServer::http("200 OK", thousandLettersZipped, {"Content-Encoding: gzip"}));
  expectError(ask("/theme"), Kind::tooLarge);
}

TEST_F(CurlNetworkTest, ABrokenPackedBodyIsAnError) {
  server.reply(ScriptedServer::http("200 OK", "not gzip", {"Content-Encoding: gzip"}));
  expectError(ask("/theme"), Kind::protocol);
  server.reply(
      ScriptedServer::http("200 OK", thousandLettersZipped.substr(0, 20), {"Content-Encoding: gzip"}));
  expectError(ask("/theme"), Kind::protocol);
}

TEST_F(CurlNetworkTest, FollowsARedirectWithinTheServerWithItsToken) {
  server.reply(ScriptedServer::http("302 Found", "moved", {"Location: /elsewhere?q=1"}));
  server.reply(ScriptedServer::http("307 Temporary Redirect", "", {"Location: " + server.url() + "/here"}));
  server.reply(ScriptedServer::http("200 OK", "found"));
  const Answer answer = ask("/theme");

  EXPECT_EQ(answer.body(), "found");
  EXPECT_EQ(answer.response->url, server.url() + "/here");
  const auto requests = server.requests();
  ASSERT_EQ(requests.size(), 3U);
  EXPECT_THAT(requests[1], AllOf(StartsWith("GET /elsewhere?q=1 HTTP/1.1\r\n"), HasSubstr(canary)));
  EXPECT_THAT(requests[2], AllOf(StartsWith("GET /here HTTP/1.1\r\n"), HasSubstr(canary)));
}

TEST_F(CurlNetworkTest, FollowsNoRedirectElsewhere) {
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

TEST_F(CurlNetworkTest, ARefusedRedirectSaysWhereItLed) {
  server.reply(ScriptedServer::http("302 Found", "", {"Location: http://other.example/x?token=" + canary}));
  EXPECT_EQ(ask("/theme").error->localizedDescription(),
            server.hostAndPort() +
                " redirects to http://other.example:80, which is not followed: "
                "use that as the server's address if you trust it");
}

TEST_F(CurlNetworkTest, GivesUpOnARedirectRoundInCircles) {
  server.replyAlways(ScriptedServer::http("302 Found", "", {"Location: /again"}));
  expectError(ask("/theme"), Kind::refusedRedirect);
  EXPECT_EQ(server.requests().size(), 6U);
}

TEST_F(CurlNetworkTest, ARedirectStatusThatLeadsNowhereIsAnAnswer) {
  server.reply(ScriptedServer::http("302 Found", "no location"));
  EXPECT_EQ(ask("/theme").body(), "no location");
}

TEST_F(CurlNetworkTest, TheTokenIsInNoErrorEvenIfTheServerSendsItBack) {
  server.reply({"HTTP/1.1 200 OK\r\nContent-Length: " + canary + "\r\n\r\n", Then::close});
  server.reply({"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n" + canary, Then::close});
  server.reply({canary + "\r\n\r\n", Then::close});
  server.reply(ScriptedServer::http("200 OK", canary, {"Content-Encoding: " + canary}));
  for (int i = 0; i < 4; ++i) {
    const Answer answer = ask("/theme");
    ASSERT_TRUE(answer.error) << i;
    EXPECT_THAT(answer.error->localizedDescription(), Not(HasSubstr(canary)));
  }
}

TEST_F(CurlNetworkTest, NoPieceOfTheTokenIsInAnErrorEither) {
  for (const std::string& host : {std::string("CANARY-TOKEN"), std::string("x.Token-5F1C.example")}) {
    server.reply(ScriptedServer::http("302 Found", "", {"Location: http://" + host + "/"}));
    EXPECT_THAT(ask("/theme").error->localizedDescription(),
                AllOf(HasSubstr("[token]"), Not(HasSubstr("token-5")), Not(HasSubstr("canary-t"))));
  }
}

TEST_F(CurlNetworkTest, AProxyOfTheEnvironmentIsNotAskedForALoopbackServer) {
  ScriptedServer proxy;
  proxy.replyAlways(ScriptedServer::http("200 OK", "from the proxy"));
  const ScopedEnvironment httpProxy("http_proxy", proxy.url());
  const ScopedEnvironment anyProxy("all_proxy", proxy.url());
  const ScopedEnvironment noException("no_proxy", "");
  remake({.server = server.url()});
  server.reply(ScriptedServer::http("200 OK", "from the server"));
  EXPECT_EQ(ask("/theme").body(), "from the server");
  network.reset();
  EXPECT_EQ(proxy.connections(), 0U);
}

TEST_F(CurlNetworkTest, NoProxySeesWhatGoesWithoutTls) {
  ScriptedServer proxy;
  proxy.replyAlways(ScriptedServer::http("200 OK", "from the proxy"));
  const ScopedEnvironment httpProxy("http_proxy", proxy.url());
  const ScopedEnvironment noException("no_proxy", "");
  // This machine too, but not by a loopback address.
  remake({.server = "http://0.0.0.0:" + std::to_string(server.port())});
  server.reply(ScriptedServer::http("200 OK", "from the server"));
  EXPECT_EQ(ask("/theme").body(), "from the server");
  network.reset();
  EXPECT_EQ(proxy.connections(), 0U);
}

TEST_F(CurlNetworkTest, CompletesPendingRequestsWhenItIsDestroyed) {
  std::vector<std::future<Answer>> answers;
  for (int i = 0; i < 20; ++i) answers.push_back(send(*network, get("/silent")));
  ASSERT_TRUE(server.waitForRequests(1));
  network.reset();
  for (auto& answer : answers) {
    ASSERT_EQ(answer.wait_for(std::chrono::seconds(0)), std::future_status::ready);
    expectError(answer.get(), Kind::shutDown);
  }
}

TEST_F(CurlNetworkTest, ACompletionMayDropTheNetwork) {
  server.reply(ScriptedServer::http("200 OK", "{}"));
  std::promise<void> dropped;
  auto last = makeNetwork({.server = server.url()});
  CurlNetwork& reference = *last;
  std::vector<std::future<Answer>> others;
  reference.sendRequest(get("/theme"),
                        [held = std::exchange(last, nullptr), &dropped, &others](auto, auto, auto) mutable {
                          for (int i = 0; i < 3; ++i) others.push_back(send(*held, get("/silent")));
                          held.reset();
                          dropped.set_value();
                        });
  ASSERT_EQ(dropped.get_future().wait_for(longEnough), std::future_status::ready);
  for (auto& other : others) {
    ASSERT_EQ(other.wait_for(longEnough), std::future_status::ready);
    expectError(other.get(), Kind::shutDown);
  }
}

TEST_F(CurlNetworkTest, TheLastHandleMayGoWithACompletionsCaptures) {
  server.reply(ScriptedServer::http("200 OK", "{}"));
  std::promise<void> gone;
  auto last = makeNetwork({.server = server.url()});
  CurlNetwork& reference = *last;
  // The deleter runs once the network's handle, captured before it, is all that is left.
  std::shared_ptr<void> sentinel(nullptr, [&gone](void*) { gone.set_value(); });
  reference.sendRequest(get("/theme"),
                        [sentinel = std::move(sentinel), last = std::move(last)](auto, auto, auto) {});
  EXPECT_EQ(gone.get_future().wait_for(longEnough), std::future_status::ready);
}

TEST_F(CurlNetworkTest, ACompletionMaySendAgainEvenDuringTheShutDown) {
  std::promise<Answer> again;
  CurlNetwork& reference = *network;
  reference.sendRequest(get("/silent"), [&](auto, auto, auto) {
    reference.sendRequest(get("/again"), [&](auto data, auto error, auto response) {
      again.set_value({std::move(data), std::move(error), std::move(response)});
    });
  });
  ASSERT_TRUE(server.waitForRequests(1));
  network.reset();
  expectError(again.get_future().get(), Kind::shutDown);
}

TEST_F(CurlNetworkTest, ACompletionMaySendTheNextRequest) {
  server.replyAlways(ScriptedServer::http("200 OK", "{}"));
  std::promise<Answer> second;
  network->sendRequest(get("/one"), [&](auto, auto, auto) {
    network->sendRequest(get("/two"), [&](auto data, auto error, auto response) {
      second.set_value({std::move(data), std::move(error), std::move(response)});
    });
  });
  auto answer = second.get_future();
  ASSERT_EQ(answer.wait_for(longEnough), std::future_status::ready);
  EXPECT_EQ(answer.get().body(), "{}");
}

TEST_F(CurlNetworkTest, CompletesEachOfManyConcurrentRequestsOnce) {
  constexpr int threadCount = 8;
  constexpr int perThread = 13;
  server.replyAlways(ScriptedServer::http("200 OK", "{}"));
  std::atomic<int> completed = 0;
  std::atomic<int> answered = 0;
  std::promise<void> all;
  std::vector<std::thread> threads;
  for (int i = 0; i < threadCount; ++i) {
    threads.emplace_back([&] {
      for (int each = 0; each < perThread; ++each) {
        network->sendRequest(get("/theme"), [&](const auto& data, auto, auto) {
          if (data && data->view() == "{}") ++answered;
          if (++completed == threadCount * perThread) all.set_value();
        });
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  ASSERT_EQ(all.get_future().wait_for(longEnough), std::future_status::ready);
  network.reset();  // a second completion of any request would have come by now
  EXPECT_EQ(completed, threadCount * perThread);
  EXPECT_EQ(answered, threadCount * perThread);
  EXPECT_LE(server.connections(), 8U);
}

TEST_F(CurlNetworkTest, TellsTheObserverOfEachRequestOnceBeforeItsCompletion) {
  std::vector<RequestOutcome> outcomes;
  remake({.server = server.url(),
          .token = [] { return std::optional(canary); },
          .observer = [&](const RequestOutcome& outcome) { outcomes.push_back(outcome); }});
  server.reply(ScriptedServer::http("404 Not Found", "gone"));
  server.replyAlways({"", Then::close});
  ask("/theme?q=secret");
  ask("/query");
  ask("https://elsewhere.example/x");
  network.reset();

  ASSERT_EQ(outcomes.size(), 3U);
  EXPECT_EQ(outcomes[0].path, "/theme");
  EXPECT_EQ(outcomes[0].statusCode, 404);
  EXPECT_EQ(outcomes[0].bytes, 4U);
  EXPECT_FALSE(outcomes[0].error);
  EXPECT_GE(outcomes[0].seconds, 0.0);
  EXPECT_EQ(outcomes[1].path, "/query");
  EXPECT_EQ(outcomes[1].statusCode, 0);
  EXPECT_EQ(outcomes[1].error->kind, Kind::connectionLost);
  EXPECT_EQ(outcomes[2].error->kind, Kind::invalidRequest);
}

TEST(CurlNetworkMakeTest, SaysWhatIsWrongWithAnAddress) {
  const auto network = CurlNetwork::make({.server = "records.example"});
  ASSERT_FALSE(network);
  EXPECT_EQ(network.error().localizedDescription(),
            "the server's address is not a URL: give one like https://records.example");
}

}  // namespace
}  // namespace vellora::hostkit
