#include "hostkit/network/CurlNetwork.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <cstddef>
#include <future>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/hostkit/network/CurlNetworkFixture.h"
#include "tests/hostkit/network/PackedLetters.h"
#include "tests/support/NetworkAnswer.h"
#include "tests/support/Requests.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/ScriptedServer.h"

namespace vellora::hostkit {
namespace {

using CorvaneSDK::NetRequest;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using tests::answerTo;
using tests::get;
using tests::longestWait;
using tests::NetworkAnswer;
using tests::ScopedEnvironment;
using tests::ScriptedServer;

using CurlNetworkTest = CurlNetworkFixture;

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
  answerTo(*network, NetRequest(request));
  EXPECT_THAT(server.requests()[0],
              AllOf(HasSubstr("Authorization: Bearer " + canary + "\r\n"), HasSubstr("User-Agent: vellora/"),
                    HasSubstr("Accept: application/json\r\n"), HasSubstr("X-Trace: 7\r\n"),
                    HasSubstr("X-Empty:\r\n")));
}

TEST_F(CurlNetworkTest, DeliversBodyStatusAndHeaders) {
  server.reply(ScriptedServer::http("200 OK", "{\"a\": 1}", {"X-Limit: 5", "X-MULTI: a", "x-multi: b"}));
  const NetworkAnswer answer = ask("/services/data/v50.0/theme?q=1");
  EXPECT_EQ(answer.body(), "{\"a\": 1}");
  EXPECT_FALSE(answer.error);
  ASSERT_TRUE(answer.response);
  EXPECT_EQ(answer.response->url, server.url() + "/services/data/v50.0/theme?q=1");
  EXPECT_EQ(answer.response->statusCode, 200);
  EXPECT_EQ(answer.response->headers, (std::map<std::string, std::string>{
                                          {"content-length", "8"}, {"x-limit", "5"}, {"x-multi", "a, b"}}));
}

TEST_F(CurlNetworkTest, DeliversAnyStatusFrom200To299) {
  for (const int status : {200, 201, 206, 299}) {
    server.reply(ScriptedServer::http(std::to_string(status) + " Fine", "{}"));
    const NetworkAnswer answer = ask("/theme");
    EXPECT_EQ(answer.body(), "{}");
    EXPECT_FALSE(answer.error);
    EXPECT_EQ(answer.response->statusCode, status);
  }
}

TEST_F(CurlNetworkTest, SharesNoConnectionWithAnAnswerThatNobodyAskedFor) {
  server.replyAlways(ScriptedServer::http("200 OK", "right"));
  EXPECT_EQ(ask("/one").body(), "right");
  server.push(ScriptedServer::http("200 OK", "stray").bytes);
  EXPECT_EQ(ask("/two").body(), "right");
  EXPECT_EQ(server.connections(), 2U);
  server.push(ScriptedServer::http("408 Request Timeout", "", {"Connection: close"}).bytes);
  EXPECT_EQ(ask("/three").body(), "right");
  EXPECT_EQ(ask("/four").body(), "right");
  EXPECT_EQ(server.connections(), 3U);
}

TEST_F(CurlNetworkTest, SharesNoConnectionWithAStrayAnswerWhateverVersionTheHeadNames) {
  for (const char* const head : {"HTTP/2 200 OK\r\n", "HTTP/1.1 200 OK\r\nHTTP/2: x\r\n"}) {
    SCOPED_TRACE(head);
    server.replyAlways({std::string(head) + "Content-Length: 5\r\n\r\nright"});
    EXPECT_EQ(ask("/one").body(), "right");
    server.push(ScriptedServer::http("200 OK", "stray").bytes);
    EXPECT_EQ(ask("/two").body(), "right");
  }
}

TEST_F(CurlNetworkTest, KeepsNoConnectionBehindAnAnswerThatIsLongerThanItSays) {
  for (const std::string bytes :
       {"HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nright and more",
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nright\r\n0\r\n\r\nmore",
        "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\nmore"}) {
    const std::size_t before = server.connections();
    server.reply({bytes});
    ask("/one");
    server.reply(ScriptedServer::http("200 OK", "right"));
    EXPECT_EQ(ask("/two").body(), "right");
    EXPECT_GT(server.connections(), before) << bytes;
  }
}

TEST_F(CurlNetworkTest, A408OnAKeptConnectionIsAskedOnceMoreAndOneOnAFreshConnectionIsAnAnswer) {
  const auto timeout = ScriptedServer::http("408 Request Timeout", "too late", {"Connection: close"});
  server.reply(ScriptedServer::http("200 OK", "first"));
  server.reply(timeout);
  server.reply(ScriptedServer::http("200 OK", "second"));
  EXPECT_EQ(ask("/one").body(), "first");
  EXPECT_EQ(ask("/two").body(), "second");
  EXPECT_EQ(server.connections(), 2U);

  server.reply(timeout);
  server.reply(timeout);
  expectError(ask("/three"), Kind::errorStatus);
  EXPECT_EQ(server.connections(), 3U);
}

TEST_F(CurlNetworkTest, A408OnTheFirstConnectionIsAnAnswer) {
  server.reply(ScriptedServer::http("408 Request Timeout", "", {"Connection: close"}));
  server.reply(ScriptedServer::http("200 OK", "late"));
  expectError(ask("/one"), Kind::errorStatus);
  EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(CurlNetworkTest, AnAnswerWithoutABodyHasAnEmptyOne) {
  server.reply(ScriptedServer::http("200 OK"));
  server.reply({"HTTP/1.1 204 No Content\r\n\r\n"});
  for (const int status : {200, 204}) {
    const NetworkAnswer answer = ask("/theme");
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

TEST_F(CurlNetworkTest, WhatFollowsAChunkedBodyIsNoHeader) {
  server.reply({"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n0\r\nX-Sum: 7\r\n\r\n"});
  const NetworkAnswer answer = ask("/theme");
  EXPECT_EQ(answer.body(), "abc");
  EXPECT_EQ(answer.response->headers, (std::map<std::string, std::string>{{"transfer-encoding", "chunked"}}));
}

TEST_F(CurlNetworkTest, ReadsABodyThatEndsWithTheConnection) {
  server.reply({"HTTP/1.1 200 OK\r\nConnection: close\r\n\r\nto the end", Then::close});
  EXPECT_EQ(ask("/theme").body(), "to the end");
}

TEST_F(CurlNetworkTest, AnInterimAnswerLeavesNoTrace) {
  server.reply(
      {"HTTP/1.1 103 Early Hints\r\nLink: </a>\r\n\r\n" + ScriptedServer::http("200 OK", "x").bytes});
  const NetworkAnswer answer = ask("/theme");
  EXPECT_EQ(answer.body(), "x");
  EXPECT_EQ(answer.response->headers, (std::map<std::string, std::string>{{"content-length", "1"}}));
}

TEST_F(CurlNetworkTest, ReusesItsConnection) {
  server.replyAlways(ScriptedServer::http("200 OK", "{}"));
  EXPECT_EQ(ask("/one").body(), "{}");
  EXPECT_EQ(ask("/two").body(), "{}");
  EXPECT_EQ(server.connections(), 1U);
}

TEST_F(CurlNetworkTest, KeepsAsManyConnectionsAsItMayHaveRequestsUnderWay) {
  const auto answer = ScriptedServer::http("200 OK", "x");
  const auto askForEight = [&] {
    const std::size_t before = server.requests().size();
    std::vector<std::future<NetworkAnswer>> answers;
    for (int i = 0; i < 8; ++i) answers.push_back(tests::send(*network, get("/theme")));
    ASSERT_TRUE(server.waitForRequests(before + 8));
    server.push(answer.bytes);
    for (auto& each : answers) EXPECT_EQ(each.get().body(), "x");
  };
  askForEight();
  server.reply(answer);
  EXPECT_EQ(ask("/alone").body(), "x");
  askForEight();
  EXPECT_EQ(server.connections(), 8U);
}

TEST_F(CurlNetworkTest, DoesNotSendAHeaderThatLeavesItsLine) {
  for (const auto& [name, value] : std::map<std::string, std::string>{
           {"X-A", "a\r\nX-Evil: 1"}, {"X-B", "a\nb"}, {"X-C\r\nX-Evil", "1"}, {"X-D: 1", "1"}, {"", "1"}}) {
    URLRequest request = get("/theme").base();
    request.headers = {{name, value}};
    expectError(answerTo(*network, NetRequest(request)), Kind::invalidRequest);
  }
  EXPECT_EQ(server.connections(), 0U);
}

TEST_F(CurlNetworkTest, SendsNothingButGetsWithoutABody) {
  URLRequest posting = get("/theme").base();
  posting.httpMethod = "POST";
  URLRequest withBody = get("/theme").base();
  withBody.body = Data(std::string("x"));
  expectError(answerTo(*network, NetRequest(posting)), Kind::invalidRequest);
  expectError(answerTo(*network, NetRequest(withBody)), Kind::invalidRequest);
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

TEST_F(CurlNetworkTest, AsksForGzipAndUnpacksIt) {
  server.reply(ScriptedServer::http("200 OK", packedLetters, {"Content-Encoding: gzip"}));
  EXPECT_EQ(ask("/theme").body(), unpackedLetters);
  EXPECT_THAT(server.requests()[0], HasSubstr("Accept-Encoding: gzip\r\n"));
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

TEST_F(CurlNetworkTest, ACompletionMaySendTheNextRequest) {
  server.replyAlways(ScriptedServer::http("200 OK", "{}"));
  std::promise<NetworkAnswer> second;
  network->sendRequest(get("/one"), [&](auto, auto, auto) {
    network->sendRequest(get("/two"), [&](auto data, auto error, auto response) {
      second.set_value({std::move(data), std::move(error), std::move(response)});
    });
  });
  auto answer = second.get_future();
  ASSERT_EQ(answer.wait_for(longestWait), std::future_status::ready);
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
  ASSERT_EQ(all.get_future().wait_for(longestWait), std::future_status::ready);
  network.reset();  // a second completion of any request would have come by now
  EXPECT_EQ(completed, threadCount * perThread);
  EXPECT_EQ(answered, threadCount * perThread);
  EXPECT_LE(server.connections(), 8U);
}

TEST_F(CurlNetworkTest, TellsTheObserverOfEachRequestOnceBeforeItsCompletion) {
  std::vector<RequestOutcome> outcomes;
  remake({.server = server.url(),
          .token = [this] { return std::optional(canary); },
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
  EXPECT_EQ(outcomes[0].bytes, 0U);
  EXPECT_EQ(outcomes[0].error->kind, Kind::errorStatus);
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
