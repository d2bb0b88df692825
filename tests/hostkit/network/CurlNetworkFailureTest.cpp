#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <future>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/network/CurlNetwork.h"
#include "tests/hostkit/network/CurlNetworkFixture.h"
#include "tests/hostkit/network/PackedLetters.h"
#include "tests/support/NetworkAnswer.h"
#include "tests/support/NoMoreThreads.h"
#include "tests/support/Requests.h"
#include "tests/support/ScriptedServer.h"

namespace vellora::hostkit {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using tests::closedPort;
using tests::get;
using tests::longestWait;
using tests::NetworkAnswer;
using tests::ScriptedServer;
using tests::send;

class CurlNetworkFailureTest : public CurlNetworkFixture {
 protected:
  /// Expects `reply`, on a connection that has given an answer before, to be the end of its request.
  void expectNotSentAgain(ScriptedServer::Reply reply, Kind kind) {
    server.reply(ScriptedServer::http("200 OK", "{}"));
    EXPECT_EQ(ask("/theme").body(), "{}");
    server.reply(std::move(reply));
    server.reply(ScriptedServer::http("200 OK", "{}"));
    expectError(ask("/theme"), kind);
    EXPECT_EQ(server.connections(), 1U);
  }
};

TEST_F(CurlNetworkFailureTest, AStatusThatIsNoSuccessIsAnErrorWithTheServersOwnWords) {
  const auto textFor = [this](const std::string& status, const std::string& body) {
    server.reply(ScriptedServer::http(status, body));
    const NetworkAnswer answer = ask("/services/data/v50.0/theme?q=1");
    expectError(answer, Kind::errorStatus);
    EXPECT_EQ(answer.errorAs<CurlNetworkError>()->statusCode, std::stoi(status));
    return answer.error->localizedDescription();
  };
  const std::string path = "/services/data/v50.0/theme";
  EXPECT_EQ(textFor("401 Unauthorized", R"([{"message":"A valid bearer token is required.","code":"X"}])"),
            "401 for " + path + ": A valid bearer token is required.");
  EXPECT_EQ(textFor("503 Service Unavailable", "<html>busy</html>"),
            "503 for " + path + ": Service Unavailable");
  EXPECT_EQ(
      textFor("304 Not Modified", ""),
      "304 for " + path +
          ", that nothing has changed, which nobody has asked; check the server, and what stands before it");
  EXPECT_EQ(textFor("500 ", ""), "500 for " + path);
}

TEST_F(CurlNetworkFailureTest, AnErrorStatusSaysHowLongTheServerWantsToBeLeftAlone) {
  server.reply(ScriptedServer::http("503 Service Unavailable", "", {"Retry-After: 17"}));
  const NetworkAnswer answer = ask("/theme");
  expectError(answer, Kind::errorStatus);
  EXPECT_EQ(answer.error->retryAdvice(), (RetryAdvice{std::chrono::seconds(17)}));
}

TEST_F(CurlNetworkFailureTest, TheServersWordsAreCleanedAndCut) {
  server.reply(ScriptedServer::http("400 Bad Request",
                                    R"([{"message":"one\nline, no )" + canary + R"( in it\u001b[31m"}])"));
  const NetworkAnswer cleaned = ask("/theme");
  expectError(cleaned, Kind::errorStatus);
  EXPECT_THAT(cleaned.error->localizedDescription(),
              AllOf(StartsWith("400 for /theme: one"), HasSubstr("[token]"), Not(HasSubstr("\x1b"))));

  server.reply(ScriptedServer::http("400 Bad Request", R"({"message":")" + std::string(9000, 'x') + "\"}"));
  EXPECT_EQ(ask("/theme").error->localizedDescription(),
            "400 for /theme: " + std::string(199, 'x') + "\u2026");
}

TEST_F(CurlNetworkFailureTest, OneRequestTooManyForTheQueueFails) {
  remake({.server = server.url(), .maxWaiting = 1});
  std::vector<std::future<NetworkAnswer>> underWay;  // as many as the network has under way at once
  for (int i = 0; i < 8; ++i) {
    underWay.push_back(send(*network, get("/silent")));
    ASSERT_TRUE(server.waitForRequests(underWay.size()));
  }
  const auto waiting = send(*network, get("/silent"));
  expectError(ask("/silent"), Kind::tooManyRequests);
  EXPECT_EQ(waiting.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
}

TEST_F(CurlNetworkFailureTest, APlaceInTheQueueIsFreeAgainWhateverBecomesOfTheRequest) {
  remake({.server = server.url(), .maxWaiting = 1});
  for (int time = 0; time < 2; ++time) expectError(ask("theme"), Kind::invalidRequest);
  std::vector<std::future<NetworkAnswer>> underWay;  // as many as the network has under way at once
  for (int i = 0; i < 8; ++i) {
    underWay.push_back(send(*network, get("/silent")));
    ASSERT_TRUE(server.waitForRequests(underWay.size()));
  }
  for (int time = 0; time < 2; ++time) expectError(ask("/late", 0.05), Kind::timedOut);
  auto waiting = send(*network, get("/silent"));
  for (int time = 0; time < 2; ++time) expectError(ask("/more"), Kind::tooManyRequests);
  const auto answer = ScriptedServer::http("200 OK", "x");
  server.replyAlways(answer);
  server.push(answer.bytes);
  EXPECT_EQ(waiting.get().body(), "x");
  for (int time = 0; time < 3; ++time) EXPECT_EQ(ask("/next").body(), "x");
}

TEST_F(CurlNetworkFailureTest, AUrlThatCurlDoesNotTakeIsAnErrorOfItsRequestAlone) {
  const NetworkAnswer answer = ask("/theme?q=" + std::string(std::size_t{8} * 1024 * 1024, 'x'));
  expectError(answer, Kind::unavailable);
  EXPECT_EQ(answer.error->localizedDescription(),
            "no means left to ask " + server.hostAndPort() + "/theme: free some memory, and try again");
  server.reply(ScriptedServer::http("200 OK", "right"));
  EXPECT_EQ(ask("/theme").body(), "right");
}

TEST_F(CurlNetworkFailureTest, HalfAHeadIsAnError) {
  server.reply({"HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nX-Ha", Then::close});
  expectError(ask("/theme"), Kind::connectionLost);
  server.reply({"HTTP/1.1 503 Busy\r\nX-Ha", Then::close});
  expectError(ask("/theme"), Kind::connectionLost);
  server.reply({"HTTP/1.1 200 OK\n\nlines of other systems", Then::close});
  EXPECT_EQ(ask("/theme").body(), "lines of other systems");
}

TEST_F(CurlNetworkFailureTest, AHundredMegabytesAreAnErrorUnlessTheyAreAllowed) {
  constexpr std::size_t megabyte = 1024 * 1024;
  const auto hundred = ScriptedServer::http("200 OK", std::string(100 * megabyte, 'x'));
  server.reply(hundred);
  expectError(ask("/theme"), Kind::tooLarge);
  remake({.server = server.url(), .maxBodyBytes = 100 * megabyte});
  server.reply(hundred);
  EXPECT_EQ(ask("/theme").data->size(), 100 * megabyte);
}

TEST_F(CurlNetworkFailureTest, AnAnnouncedLengthBeyondAllMemoryEndsNoProcess) {
  remake({.server = server.url(), .maxBodyBytes = std::numeric_limits<std::size_t>::max()});
  server.reply({"HTTP/1.1 200 OK\r\nContent-Length: 9223372036854775806\r\n\r\nhalf", Then::close});
  expectError(ask("/theme"), Kind::connectionLost);
}

TEST_F(CurlNetworkFailureTest, ARefusedConnectionIsUnreachable) {
  const int port = closedPort();
  remake({.server = "http://127.0.0.1:" + std::to_string(port)});
  const NetworkAnswer answer = ask("/services/data/v50.0/theme?q=1");
  expectError(answer, Kind::unreachable);
  EXPECT_THAT(
      answer.error->localizedDescription(),
      AllOf(StartsWith("no connection to 127.0.0.1:" + std::to_string(port) + "/services/data/v50.0/theme ("),
            HasSubstr("check the address, and that the server runs"), Not(HasSubstr("q=1"))));
}

TEST_F(CurlNetworkFailureTest, AConnectionThatEndsBeforeTheAnswerIsLost) {
  server.replyAlways({"", Then::close});
  expectError(ask("/theme"), Kind::connectionLost);
  server.replyAlways({"", Then::reset});
  expectError(ask("/theme"), Kind::connectionLost);
  server.replyAlways({"HTTP/1.1 200 OK\r\nContent-Le", Then::reset});
  expectError(ask("/theme"), Kind::connectionLost);
}

TEST_F(CurlNetworkFailureTest, HalfABodyIsAnError) {
  server.reply({"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf", Then::close});
  expectError(ask("/theme"), Kind::connectionLost);
  server.reply({"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n4\r\nhalf\r\n", Then::close});
  expectError(ask("/theme"), Kind::connectionLost);
  server.reply({"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf", Then::reset});
  expectError(ask("/theme"), Kind::connectionLost);
}

TEST_F(CurlNetworkFailureTest, ARequestThatGotHalfABodyOnAKeptConnectionIsNotSentAgain) {
  expectNotSentAgain({"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf", Then::close},
                     Kind::connectionLost);
}

TEST_F(CurlNetworkFailureTest, WhatIsNotHttpIsAProtocolError) {
  server.reply({"SSH-2.0-OpenSSH_9.2\r\n", Then::close});
  expectError(ask("/theme"), Kind::protocol);
}

TEST_F(CurlNetworkFailureTest, ARequestThatGotNoHttpOnAKeptConnectionIsNotSentAgain) {
  expectNotSentAgain({"SSH-2.0-OpenSSH_9.2\r\n", Then::close}, Kind::protocol);
}

TEST_F(CurlNetworkFailureTest, TheRequestsTimeCoversWaitingForTheAnswer) {
  expectError(ask("/silent", 0.2), Kind::timedOut);
}

TEST_F(CurlNetworkFailureTest, TheRequestsTimeCoversASlowBody) {
  server.reply({"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf"});
  expectError(ask("/theme", 0.2), Kind::timedOut);
}

TEST_F(CurlNetworkFailureTest, WithoutAnyAnswerARequestWaitsForAConnectionNoLongerThanItsTime) {
  std::vector<std::future<NetworkAnswer>> patient;  // as many as the network has under way at once
  for (int i = 0; i < 8; ++i) patient.push_back(send(*network, get("/silent")));
  std::vector<std::future<NetworkAnswer>> answers;
  for (int i = 0; i < 30; ++i) answers.push_back(send(*network, get("/silent", 0.2)));
  for (auto& answer : answers) {
    ASSERT_EQ(answer.wait_for(longestWait), std::future_status::ready);
    expectError(answer.get(), Kind::timedOut);
  }
  for (const auto& each : patient) {
    EXPECT_EQ(each.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
  }
}

TEST_F(CurlNetworkFailureTest, ATimeThatIsNoPositiveNumberIsNotTheRequestsEnd) {
  server.replyAlways(ScriptedServer::http("200 OK", "{}"));
  for (const double timeout : {0.0, -1.0, std::nan(""), HUGE_VAL, -HUGE_VAL}) {
    EXPECT_EQ(ask("/theme", timeout).body(), "{}") << timeout;
  }
}

TEST_F(CurlNetworkFailureTest, ABodyOverTheLimitIsAnError) {
  remake({.server = server.url(), .maxBodyBytes = 10});
  server.reply(ScriptedServer::http("200 OK", "0123456789"));
  EXPECT_EQ(ask("/theme").body(), "0123456789");
  server.reply(ScriptedServer::http("200 OK", "0123456789a"));
  expectError(ask("/theme"), Kind::tooLarge);
  server.reply({"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nb\r\n0123456789a\r\n0\r\n\r\n"});
  const NetworkAnswer answer = ask("/theme");
  expectError(answer, Kind::tooLarge);
  EXPECT_EQ(answer.error->localizedDescription(), "too large a body from " + server.hostAndPort() +
                                                      "/theme: raise the limit on bodies if it is right");
}

TEST_F(CurlNetworkFailureTest, AHeadTooLargeSaysSo) {
  const std::string text = "too large a head from " + server.hostAndPort() + "/theme: check the server";
  const std::string okHead = "HTTP/1.1 200 OK\r\n";
  server.reply({okHead + "X-Long: " + std::string(400'000, 'x')});
  server.reply({okHead, Then::flood, "X-Line: more\r\n"});
  server.reply({"HTTP/1.1 103 Early Hints\r\n\r\n", Then::flood, "HTTP/1.1 103 Early Hints\r\n\r\n"});
  server.reply({okHead + "Transfer-Encoding: chunked\r\n\r\n0\r\n", Then::flood, "X-Trailer: more\r\n"});
  for (int each = 0; each < 4; ++each) {
    const NetworkAnswer answer = ask("/theme");
    expectError(answer, Kind::tooLarge);
    EXPECT_EQ(answer.error->localizedDescription(), text) << each;
  }
}

TEST_F(CurlNetworkFailureTest, ATrailerLineTooLongSaysSo) {
  const std::string trailer = "X-Long: " + std::string(5000, 'x') + "\r\n\r\n";
  server.reply({"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n" + trailer});
  const NetworkAnswer answer = ask("/theme");
  expectError(answer, Kind::tooLarge);
  EXPECT_EQ(answer.error->localizedDescription(),
            "too large a head from " + server.hostAndPort() + "/theme: check the server");
  EXPECT_FALSE(answer.error->retryAdvice());
}

TEST_F(CurlNetworkFailureTest, AnErrorStatusIsToldThoughItsBodyIsOfNoUse) {
  std::string commas(1'100'000, ',');
  const std::string chunked = "\r\nTransfer-Encoding: chunked\r\n\r\n";
  const auto half = packedLetters.substr(0, 20);
  const std::vector<ScriptedServer::Reply> replies{
      {"HTTP/1.1 503 Busy\r\nContent-Length: 100\r\n\r\n{\"messa", Then::close},
      {"HTTP/1.1 503 Busy\r\nContent-Length: 100\r\n\r\n{\"messa", Then::reset},
      {"HTTP/1.1 503 Busy" + chunked + "8\r\nhalf", Then::close},
      {"HTTP/1.1 503 Busy" + chunked + "0\r\n", Then::flood, "X-Trailer: more\r\n"},
      ScriptedServer::http("503 Busy", commas),
      ScriptedServer::http("503 Busy", "gateway", {"Content-Encoding: br"}),
      ScriptedServer::http("503 Busy", "not gzip", {"Content-Encoding: gzip"}),
      ScriptedServer::http("503 Busy", half, {"Content-Encoding: gzip"})};
  for (const auto& reply : replies) {
    SCOPED_TRACE(reply.bytes.substr(0, 100));
    server.reply(reply);
    const NetworkAnswer answer = ask("/theme");
    expectError(answer, Kind::errorStatus);
    EXPECT_EQ(answer.error->localizedDescription(), "503 for /theme: Busy");
    EXPECT_TRUE(answer.error->retryAdvice());
  }
}

TEST_F(CurlNetworkFailureTest, TheLowestErrorStatusIsToldThoughItsBodyIsCutOff) {
  server.reply({"HTTP/1.1 300 Multiple Choices\r\nContent-Length: 100\r\n\r\nhalf", Then::close});
  EXPECT_EQ(ask("/theme").error->localizedDescription(), "300 for /theme: Multiple Choices");
}

TEST_F(CurlNetworkFailureTest, AnErrorBodyThatIsReadCostsNoConnectionHoweverLargeItIs) {
  server.reply(ScriptedServer::http("500 Broken", std::string(65'536, 'x')));
  server.reply(ScriptedServer::http("200 OK", "right"));
  expectError(ask("/theme"), Kind::errorStatus);
  EXPECT_EQ(ask("/theme").body(), "right");
  EXPECT_EQ(server.connections(), 1U);
}

TEST_F(CurlNetworkFailureTest, AnErrorBodyWithoutEndIsGivenUp) {
  remake({.server = server.url(), .maxBodyBytes = std::numeric_limits<std::size_t>::max()});
  server.reply({"HTTP/1.1 500 Broken\r\n\r\n", Then::flood, std::string(1000, 'x')});
  const NetworkAnswer answer = ask("/theme", 100'000);
  expectError(answer, Kind::errorStatus);
  EXPECT_EQ(answer.error->localizedDescription(), "500 for /theme: Broken");
}

TEST_F(CurlNetworkFailureTest, AnErrorStatusIsToldThoughItsBodyStalls) {
  for (const std::string body : {"half", ""}) {
    NetworkAnswer answer;
    for (const double timeout : {0.2, 2.0, 20.0}) {  // a busy machine may not get to the head in a short time
      server.reply({"HTTP/1.1 401 Unauthorized\r\nContent-Length: 10\r\n\r\n" + body});
      answer = ask("/theme", timeout);
      if (answer.errorAs<CurlNetworkError>()->kind != Kind::timedOut) break;
    }
    expectError(answer, Kind::errorStatus);
    EXPECT_EQ(answer.error->localizedDescription(), "401 for /theme: Unauthorized");
  }
}

TEST_F(CurlNetworkFailureTest, ABodyOfTooManyValuesIsAnErrorUnlessTheyAreAllowed) {
  std::string zeros = "[0";
  for (int i = 0; i < 1'000'000; ++i) zeros += ",0";
  server.replyAlways(ScriptedServer::http("200 OK", zeros + "]"));
  expectError(ask("/theme"), Kind::tooManyValues);
  remake({.server = server.url(), .maxBodyValues = 2'000'000});
  EXPECT_EQ(ask("/theme").data->size(), zeros.size() + 1);
}

TEST_F(CurlNetworkFailureTest, CountsTheBodyUnpacked) {
  remake({.server = server.url(), .maxBodyBytes = 999});
  server.reply(ScriptedServer::http("200 OK", packedLetters, {"Content-Encoding: gzip"}));
  expectError(ask("/theme"), Kind::tooLarge);
}

TEST_F(CurlNetworkFailureTest, ABrokenPackedBodyIsAnError) {
  server.reply(ScriptedServer::http("200 OK", "not gzip", {"Content-Encoding: gzip"}));
  expectError(ask("/theme"), Kind::protocol);
  server.reply(ScriptedServer::http("200 OK", packedLetters.substr(0, 20), {"Content-Encoding: gzip"}));
  expectError(ask("/theme"), Kind::protocol);
}

/// For want of what a network cannot be made, or nothing.
std::string lackOfANetwork() {
  const auto network = CurlNetwork::make({.server = "http://127.0.0.1:1"});
  const auto* error = network.hasValue() ? nullptr : network.error().as<CurlNetworkError>();
  return error && error->kind == CurlNetworkError::Kind::unavailable ? error->text : "";
}

[[noreturn]] void makeANetworkWithoutDescriptors() {
  tests::leaveNoRoomForAThread();
  // What is loaded at the first failure is there afterwards; a sanitizer needs descriptors for its own, too.
  const bool lackedAThread = lackOfANetwork() == "the network cannot start: no thread to be had";
  const rlimit none{0, 0};
  const bool isLimited = setrlimit(RLIMIT_NOFILE, &none) == 0;
  const bool lackedDescriptors = lackOfANetwork() == "the network cannot start: no descriptors to be had";
  std::_Exit(lackedAThread && isLimited && lackedDescriptors ? 0 : 1);
}

TEST(CurlNetworkDeathTest, IsNotMadeWhereItsThreadCouldNotBeWoken) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(makeANetworkWithoutDescriptors(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace vellora::hostkit
