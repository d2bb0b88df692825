#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/network/CurlNetwork.h"
#include "tests/support/NetworkAnswer.h"
#include "tests/support/Requests.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TlsServer.h"

namespace vellora::hostkit {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using tests::answerTo;
using tests::get;
using tests::NetworkAnswer;
using tests::ScopedEnvironment;
using tests::ScriptedServer;
using tests::TestCertificate;
using tests::TlsServer;

const std::string canary = "canary-token-77aa";

/// What a network with a token, made of `options`, gets for one request.
NetworkAnswer ask(CurlNetwork::Options options) {
  options.token = [] { return std::optional(canary); };
  return answerTo(*CurlNetwork::make(std::move(options)).value(), get("/theme"));
}

/// Expects that the server was not trusted, for that reason.
void expectRefused(const NetworkAnswer& answer, const std::string& reason) {
  EXPECT_FALSE(answer.data);
  const auto* error = answer.errorAs<CurlNetworkError>();
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->kind, CurlNetworkError::Kind::tls);
  EXPECT_THAT(error->text, AllOf(HasSubstr("no secure connection to 127.0.0.1:"), HasSubstr(reason),
                                 HasSubstr("check the server's certificate"), Not(HasSubstr(canary))));
}

TEST(CurlNetworkTlsTest, TrustsWhomTheFileOfAuthoritiesNames) {
  ScriptedServer plain;
  plain.reply(ScriptedServer::http("200 OK", "over TLS"));
  TlsServer server(plain.port());
  const auto answer = ask({.server = server.url(), .caFile = server.certificate()});
  EXPECT_FALSE(answer.error);
  EXPECT_EQ(answer.body(), "over TLS");
  EXPECT_THAT(plain.requests(), testing::ElementsAre(HasSubstr("Authorization: Bearer " + canary + "\r\n")));
}

// The body is longer than what TLS carries in one piece, and the stray answer comes in the last one: TLS has
// then taken it from the socket, where nothing is seen of it.
TEST(CurlNetworkTlsTest, AnAnswerThatNobodyAskedForIsNotReadWithinTlsEither) {
  ScriptedServer plain;
  const std::string large(20'000, 'x');
  plain.reply({ScriptedServer::http("200 OK", large).bytes + ScriptedServer::http("200 OK", "stray").bytes});
  plain.reply(ScriptedServer::http("200 OK", "right"));
  TlsServer server(plain.port());
  const auto network = CurlNetwork::make({.server = server.url(), .caFile = server.certificate()}).value();
  EXPECT_EQ(answerTo(*network, get("/large")).body(), large);
  EXPECT_EQ(answerTo(*network, get("/next")).body(), "right");
}

TEST(CurlNetworkTlsTest, AnAnswerThatComesUnaskedOnAKeptConnectionIsNotReadWithinTlsEither) {
  ScriptedServer plain;
  const auto right = ScriptedServer::http("200 OK", "right");
  const auto stray = ScriptedServer::http("200 OK", "stray");
  plain.replyAlways(right);
  TlsServer server(plain.port());
  const auto network = CurlNetwork::make({.server = server.url(), .caFile = server.certificate()}).value();
  EXPECT_EQ(answerTo(*network, get("/one")).body(), "right");
  plain.push(stray.bytes);
  server.waitUntilSent(right.bytes.size() + stray.bytes.size());
  EXPECT_EQ(answerTo(*network, get("/two")).body(), "right");
  EXPECT_EQ(plain.connections(), 2U);
}

TEST(CurlNetworkTlsTest, KeepsItsConnectionWhenNothingIsUnread) {
  ScriptedServer plain;
  plain.replyAlways(ScriptedServer::http("200 OK", "right"));
  TlsServer server(plain.port());
  const auto network = CurlNetwork::make({.server = server.url(), .caFile = server.certificate()}).value();
  for (int i = 0; i < 5; ++i) EXPECT_EQ(answerTo(*network, get("/theme")).body(), "right");
  EXPECT_EQ(plain.connections(), 1U);
}

TEST(CurlNetworkTlsTest, RefusesACertificateThatNobodySigned) {
  ScriptedServer plain;
  TlsServer server(plain.port());
  const auto answer = ask({.server = server.url()});
  EXPECT_FALSE(answer.data);
  expectRefused(answer, "self-signed certificate");
  EXPECT_THAT(plain.requests(), IsEmpty());
}

TEST(CurlNetworkTlsTest, RefusesACertificateOfAnotherServer) {
  ScriptedServer plain;
  TlsServer server(plain.port(), "DNS:records.example");
  const auto answer = ask({.server = server.url(), .caFile = server.certificate()});
  expectRefused(answer, "no alternative certificate subject name matches");
  EXPECT_THAT(plain.requests(), IsEmpty());
}

TEST(CurlNetworkTlsTest, RefusesACertificateThatHasExpired) {
  ScriptedServer plain;
  TlsServer server(plain.port(), "IP:127.0.0.1", TestCertificate::Valid::longAgo);
  const auto answer = ask({.server = server.url(), .caFile = server.certificate()});
  expectRefused(answer, "certificate has expired");
  EXPECT_THAT(plain.requests(), IsEmpty());
}

TEST(CurlNetworkTlsTest, AFileOfAuthoritiesThatIsNotThereIsAnError) {
  ScriptedServer plain;
  TlsServer server(plain.port());
  const auto answer = ask({.server = server.url(), .caFile = server.certificate() + ".missing"});
  ASSERT_NE(answer.errorAs<CurlNetworkError>(), nullptr);
  EXPECT_EQ(answer.errorAs<CurlNetworkError>()->kind, CurlNetworkError::Kind::tls);
}

TEST(CurlNetworkTlsTest, SendsNothingReadableToAServerWithoutTls) {
  ScriptedServer server;
  server.replyAlways(ScriptedServer::http("200 OK", "plain"));
  const auto answer = ask({.server = "https://" + server.hostAndPort(), .connectTimeout = 0.2});
  EXPECT_FALSE(answer.data);
  EXPECT_TRUE(answer.error);
  EXPECT_TRUE(server.requests().empty());
}

TEST(CurlNetworkTlsTest, AServerThatResetsItsConnectionsDoesNotEndTheProcess) {
  ScriptedServer plain;
  plain.replyAlways({ScriptedServer::http("200 OK", "and gone").bytes, ScriptedServer::Then::reset});
  TlsServer server(plain.port());
  auto network = CurlNetwork::make({.server = server.url(), .caFile = server.certificate()}).value();
  for (int i = 0; i < 10; ++i) {
    std::promise<void> completed;
    network->sendRequest(get("/theme"), [&](auto&&...) { completed.set_value(); });
    completed.get_future().wait();
  }
  // The last connection is closed here, by this thread.
  network.reset();
  EXPECT_GE(plain.requests().size(), 10U);
}

TEST(CurlNetworkTlsTest, AServerThatDiesUnderRequestsDoesNotEndTheProcess) {
  ScriptedServer plain;
  TlsServer server(plain.port());
  const auto network = CurlNetwork::make({.server = server.url(), .caFile = server.certificate()}).value();
  std::vector<std::future<bool>> failed;
  for (int i = 0; i < 8; ++i) {
    auto promise = std::make_shared<std::promise<bool>>();
    failed.push_back(promise->get_future());
    network->sendRequest(get("/theme"), [promise](const auto&, const auto& error, const auto&) {
      promise->set_value(error.has_value());
    });
  }
  ASSERT_TRUE(plain.waitForRequests(8));
  server.kill();
  for (auto& each : failed) EXPECT_TRUE(each.get());
}

TEST(CurlNetworkTlsTest, AProxySeesNoMoreThanTheServersName) {
  ScriptedServer proxy;
  proxy.replyAlways({"HTTP/1.1 403 Forbidden\r\nContent-Length: 0\r\n\r\n", ScriptedServer::Then::close});
  const ScopedEnvironment httpsProxy("https_proxy", proxy.url());
  const ScopedEnvironment noException("no_proxy", "");
  const auto answer = ask({.server = "https://records.example"});
  EXPECT_TRUE(answer.error);
  ASSERT_EQ(proxy.requests().size(), 1U);
  EXPECT_THAT(proxy.requests()[0], AllOf(testing::StartsWith("CONNECT records.example:443 HTTP/1.1\r\n"),
                                         Not(HasSubstr(canary)), Not(HasSubstr("theme"))));
}

}  // namespace
}  // namespace vellora::hostkit
