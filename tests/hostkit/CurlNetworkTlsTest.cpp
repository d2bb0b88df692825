#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "hostkit/CurlNetwork.h"
#include "tests/support/Requests.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TlsServer.h"

namespace vellora::hostkit {
namespace {

using Kind = CurlNetworkError::Kind;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using tests::get;
using tests::ScopedEnvironment;
using tests::ScriptedServer;
using tests::TlsServer;

const std::string canary = "canary-token-77aa";

/// The body of what a network with a token, made of `options`, gets for one request; or its error's kind.
std::pair<std::string, std::optional<CurlNetworkError>> ask(CurlNetwork::Options options) {
  options.token = [] { return std::optional(canary); };
  const auto network = CurlNetwork::make(std::move(options)).value();
  std::promise<std::pair<std::string, std::optional<CurlNetworkError>>> promise;
  auto answer = promise.get_future();
  network->sendRequest(get("/theme"), [&](const auto& data, const auto& error, const auto&) {
    promise.set_value({data ? std::string(data->view()) : "(no body)",
                       error ? std::optional(*error->template as<CurlNetworkError>()) : std::nullopt});
  });
  return answer.get();
}

TEST(CurlNetworkTlsTest, TrustsWhomTheFileOfAuthoritiesNames) {
  TlsServer server("IP:127.0.0.1");
  const auto [body, error] = ask({.server = server.url(), .caFile = server.certificate()});
  EXPECT_FALSE(error);
  EXPECT_THAT(body, HasSubstr("s_server -accept 127.0.0.1:0"));
}

TEST(CurlNetworkTlsTest, RefusesACertificateThatNobodySigned) {
  TlsServer server("IP:127.0.0.1");
  const auto [body, error] = ask({.server = server.url()});
  EXPECT_EQ(body, "(no body)");
  ASSERT_TRUE(error);
  EXPECT_EQ(error->kind, Kind::tls);
  EXPECT_THAT(error->text,
              AllOf(HasSubstr("no secure connection to 127.0.0.1:"), HasSubstr("self-signed certificate"),
                    HasSubstr("check the server's certificate"), Not(HasSubstr(canary))));
}

TEST(CurlNetworkTlsTest, RefusesACertificateOfAnotherServer) {
  TlsServer server("DNS:records.example");
  const auto [body, error] = ask({.server = server.url(), .caFile = server.certificate()});
  ASSERT_TRUE(error);
  EXPECT_EQ(error->kind, Kind::tls);
}

TEST(CurlNetworkTlsTest, AFileOfAuthoritiesThatIsNotThereIsAnError) {
  TlsServer server("IP:127.0.0.1");
  const auto [body, error] = ask({.server = server.url(), .caFile = server.certificate() + ".missing"});
  ASSERT_TRUE(error);
  EXPECT_EQ(error->kind, Kind::tls);
}

TEST(CurlNetworkTlsTest, SendsNothingReadableToAServerWithoutTls) {
  ScriptedServer server;
  server.replyAlways(ScriptedServer::http("200 OK", "plain"));
  const auto [body, error] = ask({.server = "https://" + server.hostAndPort(), .connectTimeout = 0.2});
  EXPECT_EQ(body, "(no body)");
  EXPECT_TRUE(error);
  EXPECT_TRUE(server.requests().empty());
}

TEST(CurlNetworkTlsTest, AProxySeesNoMoreThanTheServersName) {
  ScriptedServer proxy;
  proxy.replyAlways({"HTTP/1.1 403 Forbidden\r\nContent-Length: 0\r\n\r\n", ScriptedServer::Then::close});
  const ScopedEnvironment httpsProxy("https_proxy", proxy.url());
  const ScopedEnvironment noException("no_proxy", "");
  const auto [body, error] = ask({.server = "https://records.example"});
  EXPECT_TRUE(error);
  ASSERT_EQ(proxy.requests().size(), 1U);
  EXPECT_THAT(proxy.requests()[0], AllOf(testing::StartsWith("CONNECT records.example:443 HTTP/1.1\r\n"),
                                         Not(HasSubstr(canary)), Not(HasSubstr("theme"))));
}

}  // namespace
}  // namespace vellora::hostkit
