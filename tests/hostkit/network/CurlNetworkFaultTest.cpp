#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/network/CurlNetwork.h"
#include "tests/support/Requests.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TlsServer.h"
#include "tests/support/TokenCanary.h"

namespace vellora::hostkit {
namespace {

using Kind = CurlNetworkError::Kind;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using tests::get;
using tests::ScriptedServer;
using tests::TlsServer;
using tests::TokenCanary;
using Then = ScriptedServer::Then;

constexpr auto longEnough = std::chrono::seconds(60);
constexpr std::size_t maxBodyBytes = 1000;

/// Something that a server does instead of answering properly, and what a client is told of it.
struct ServerFault {
  const char* name;
  ScriptedServer::Reply reply;
  Kind kind;
  double timeout = 60;  // seconds
};

const std::string tenPromised = "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf";
const std::string chunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";

/// `elsewhere` stands for the address of a server that must never be asked, `token` for the token.
std::vector<ServerFault> serverFaults(const std::string& elsewhere, const std::string& token) {
  const auto redirect = [](const std::string& location) {
    return ScriptedServer::http("302 Found", "", {"Location: " + location});
  };
  return {
      {"closes", {"", Then::close}, Kind::connectionLost},
      {"resets", {"", Then::reset}, Kind::connectionLost},
      {"half a head, closed", {"HTTP/1.1 200 OK\r\nContent-Le", Then::close}, Kind::connectionLost},
      {"half a head, reset", {"HTTP/1.1 200 OK\r\nContent-Le", Then::reset}, Kind::connectionLost},
      {"half a body, closed", {tenPromised, Then::close}, Kind::connectionLost},
      {"half a body, reset", {tenPromised, Then::reset}, Kind::connectionLost},
      {"half a chunk, closed", {chunked + "8\r\nhalf", Then::close}, Kind::connectionLost},
      {"no last chunk, closed", {chunked + "4\r\nhalf\r\n", Then::close}, Kind::connectionLost},
      {"stops in the body", {tenPromised, Then::keepOpen}, Kind::timedOut, 0.05},
      {"trickles", {"HTTP/1.1 200 OK\r\nContent-Length: 900\r\n\r\n", Then::trickle}, Kind::timedOut, 0.05},
      {"says nothing", {"", Then::keepOpen}, Kind::timedOut, 0.05},
      {"too large a body", ScriptedServer::http("200 OK", std::string(2000, 'x')), Kind::tooLarge},
      {"endless chunks", {chunked + "fffff\r\n" + std::string(2000, 'x')}, Kind::tooLarge},
      {"no HTTP", {token + "\r\n\r\n", Then::close}, Kind::protocol},
      {"broken packing", ScriptedServer::http("200 OK", token, {"Content-Encoding: gzip"}), Kind::protocol},
      {"strange packing", ScriptedServer::http("200 OK", "x", {"Content-Encoding: " + token}),
       Kind::protocol},
      {"another server", redirect("http://" + elsewhere + "/theme"), Kind::refusedRedirect},
      {"another server with TLS", redirect("https://" + elsewhere + "/theme"), Kind::refusedRedirect},
      {"another server, same scheme", redirect("//" + elsewhere + "/theme?t=" + token),
       Kind::refusedRedirect},
      {"another protocol", redirect("ftp://" + elsewhere + "/theme"), Kind::refusedRedirect},
      {"a file", redirect("file:///etc/hostname"), Kind::refusedRedirect},
      {"the token as a server", redirect("http://a:" + token + "@" + elsewhere), Kind::refusedRedirect},
  };
}

/// What a completion was called with, and how often.
struct Answer {
  std::optional<std::string> body;
  std::optional<Error> error;
  bool hasResponse = false;
};

/// A network whose server does what it is told, with TLS or without, and that watches where its token gets
/// to.
class CurlNetworkFaultTest : public testing::TestWithParam<bool> {
 protected:
  CurlNetworkFaultTest() {
    elsewhere.replyAlways(ScriptedServer::http("200 OK", "from elsewhere"));
    if (GetParam()) tls = std::make_unique<TlsServer>(server.port());
    CurlNetwork::Options options{.server = tls ? tls->url() : server.url()};
    options.token = [this] { return std::optional(canary.token()); };
    options.maxBodyBytes = maxBodyBytes;
    if (tls) options.caFile = tls->certificate();
    options.observer = [this](const RequestOutcome& outcome) {
      const std::lock_guard lock(mutex);
      if (outcome.error) texts.push_back(outcome.error->localizedDescription());
    };
    network = CurlNetwork::make(std::move(options)).value();
  }

  ~CurlNetworkFaultTest() override {
    network.reset();  // whatever completes twice has done so by now
    EXPECT_EQ(completions, sent);
    EXPECT_EQ(elsewhere.connections(), 0U);
    for (const std::string& text : texts) EXPECT_FALSE(canary.isIn(text)) << text;
  }

  std::future<Answer> send(double timeout = 60) {
    ++sent;
    auto promise = std::make_shared<std::promise<Answer>>();
    network->sendRequest(get("/theme?q=1", timeout),
                         [this, promise](const auto& data, const auto& error, const auto& response) {
                           ++completions;
                           promise->set_value({data ? std::optional(std::string(data->view())) : std::nullopt,
                                               error, response.has_value()});
                         });
    return promise->get_future();
  }

  void expectError(std::future<Answer> pending, Kind kind) {
    ASSERT_EQ(pending.wait_for(longEnough), std::future_status::ready);
    const Answer answer = pending.get();
    EXPECT_FALSE(answer.body);
    EXPECT_FALSE(answer.hasResponse);
    ASSERT_TRUE(answer.error);
    EXPECT_EQ(answer.error->as<CurlNetworkError>()->kind, kind) << answer.error->localizedDescription();
    const std::string text = answer.error->localizedDescription();
    EXPECT_THAT(text, AllOf(HasSubstr("127.0.0.1:"), Not(HasSubstr("\n")), Not(HasSubstr("q=1"))));
    EXPECT_FALSE(canary.isIn(text)) << text;
  }

  void meet(const ServerFault& fault) {
    SCOPED_TRACE(fault.name);
    server.replyAlways(fault.reply);
    expectError(send(fault.timeout), fault.kind);
  }

  void expectARightAnswer() {
    server.replyAlways(ScriptedServer::http("200 OK", "right"));
    auto pending = send();
    ASSERT_EQ(pending.wait_for(longEnough), std::future_status::ready);
    EXPECT_EQ(pending.get().body, "right");
  }

  std::mutex mutex;
  const TokenCanary canary;
  ScriptedServer server;
  ScriptedServer elsewhere;
  const std::vector<ServerFault> faults = serverFaults(elsewhere.hostAndPort(), canary.token());
  std::unique_ptr<TlsServer> tls;
  std::shared_ptr<CurlNetwork> network;
  std::vector<std::string> texts;  // under mutex: of all errors
  int sent = 0;
  std::atomic<int> completions = 0;
};

INSTANTIATE_TEST_SUITE_P(, CurlNetworkFaultTest, testing::Bool(),
                         [](const auto& withTls) { return withTls.param ? "WithTls" : "WithoutTls"; });

TEST_P(CurlNetworkFaultTest, EachIsOneClearErrorAndTheNextAnswerIsRight) {
  for (const ServerFault& fault : faults) {
    meet(fault);
    expectARightAnswer();
  }
}

// With TLS a pair shares no connection, hence nothing.
using CurlNetworkFaultPairTest = CurlNetworkFaultTest;
INSTANTIATE_TEST_SUITE_P(, CurlNetworkFaultPairTest, testing::Values(false));

TEST_P(CurlNetworkFaultPairTest, OneAfterAnotherInAnyOrderAreTheSameErrors) {
  for (const ServerFault& first : faults) {
    if (first.kind == Kind::timedOut) continue;  // they leave nothing behind, and take their time
    for (const ServerFault& second : faults) {
      if (second.kind == Kind::timedOut) continue;
      SCOPED_TRACE(first.name);
      meet(first);
      meet(second);
    }
    expectARightAnswer();
  }
}

TEST_P(CurlNetworkFaultTest, ManyAtOnceAreAnErrorForEachRequest) {
  for (const ServerFault& fault : faults) {
    SCOPED_TRACE(fault.name);
    server.replyAlways(fault.reply);
    std::vector<std::future<Answer>> pending;
    for (int i = 0; i < 10; ++i) pending.push_back(send(fault.timeout));
    for (auto& each : pending) expectError(std::move(each), fault.kind);
  }
}

TEST_P(CurlNetworkFaultTest, AShutDownInTheMiddleOfItIsAnErrorToo) {
  server.replyAlways({"HTTP/1.1 200 OK\r\nContent-Length: 9000000\r\n\r\n", Then::trickle});  // takes hours
  std::vector<std::future<Answer>> pending;
  for (int i = 0; i < 12; ++i) pending.push_back(send());
  ASSERT_TRUE(server.waitForRequests(1));
  network.reset();
  for (auto& each : pending) expectError(std::move(each), Kind::shutDown);
}

}  // namespace
}  // namespace vellora::hostkit
