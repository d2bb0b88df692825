#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/network/CurlNetwork.h"
#include "tests/support/NetworkAnswer.h"
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
using tests::longestWait;
using tests::NetworkAnswer;
using tests::ScriptedServer;
using tests::TlsServer;
using tests::TokenCanary;
using Then = ScriptedServer::Then;

constexpr std::size_t maxBodyBytes = 1000;

/// Something that a server does instead of answering properly, and what a client is told of it.
struct ServerFault {
  const char* name;
  ScriptedServer::Reply reply;
  Kind kind;
  double timeout = 60;  // seconds
};

using ServerFaults = std::vector<ServerFault>;

constexpr double soon = 0.05;  // seconds

const std::string okHead = "HTTP/1.1 200 OK\r\n";
const std::string tenPromised = okHead + "Content-Length: 10\r\n\r\nhalf";
const std::string chunked = okHead + "Transfer-Encoding: chunked\r\n\r\n";

ServerFaults brokenConnections() {
  const auto lost = [](const char* name, const std::string& bytes, Then then) {
    return ServerFault{.name = name, .reply = {.bytes = bytes, .then = then}, .kind = Kind::connectionLost};
  };
  return {
      lost("closes", "", Then::close),
      lost("resets", "", Then::reset),
      lost("half a head, closed", okHead + "Content-Le", Then::close),
      lost("half a head, reset", okHead + "Content-Le", Then::reset),
      lost("half a body, closed", tenPromised, Then::close),
      lost("half a body, reset", tenPromised, Then::reset),
      lost("half a chunk, closed", chunked + "8\r\nhalf", Then::close),
      lost("no last chunk, closed", chunked + "4\r\nhalf\r\n", Then::close),
  };
}

ServerFaults slowAnswers() {
  const auto slow = [](const char* name, const std::string& bytes, Then then) {
    return ServerFault{
        .name = name, .reply = {.bytes = bytes, .then = then}, .kind = Kind::timedOut, .timeout = soon};
  };
  return {
      slow("stops in the body", tenPromised, Then::keepOpen),
      slow("trickles", okHead + "Content-Length: 900\r\n\r\n", Then::trickle),
      slow("says nothing", "", Then::keepOpen),
  };
}

/// `token` stands for the token that the client has sent.
ServerFaults wrongAnswers(const std::string& token) {
  const std::string twice(2 * maxBodyBytes, 'x');
  const auto packed = [](const std::string& body, const std::string& encoding) {
    return ScriptedServer::http("200 OK", body, {"Content-Encoding: " + encoding});
  };
  return {
      {.name = "too large a body", .reply = ScriptedServer::http("200 OK", twice), .kind = Kind::tooLarge},
      {.name = "endless chunks", .reply = {.bytes = chunked + "fffff\r\n" + twice}, .kind = Kind::tooLarge},
      {.name = "no HTTP",
       .reply = {.bytes = token + "\r\n\r\n", .then = Then::close},
       .kind = Kind::protocol},
      {.name = "broken packing", .reply = packed(token, "gzip"), .kind = Kind::protocol},
      {.name = "strange packing", .reply = packed("x", token), .kind = Kind::protocol},
  };
}

/// `elsewhere` stands for the address of a server that must never be asked.
ServerFaults redirects(const std::string& elsewhere, const std::string& token) {
  const auto refused = [](const char* name, const std::string& location) {
    return ServerFault{.name = name,
                       .reply = ScriptedServer::http("302 Found", "", {"Location: " + location}),
                       .kind = Kind::refusedRedirect};
  };
  return {
      refused("another server", "http://" + elsewhere + "/theme"),
      refused("another server with TLS", "https://" + elsewhere + "/theme"),
      refused("another server, same scheme", "//" + elsewhere + "/theme?t=" + token),
      refused("another protocol", "ftp://" + elsewhere + "/theme"),
      refused("a file", "file:///etc/hostname"),
      refused("the token as a server", "http://a:" + token + "@" + elsewhere),
  };
}

ServerFaults serverFaults(const std::string& elsewhere, const std::string& token) {
  ServerFaults all;
  for (const ServerFaults& some :
       {brokenConnections(), slowAnswers(), wrongAnswers(token), redirects(elsewhere, token)}) {
    all.insert(all.end(), some.begin(), some.end());
  }
  return all;
}

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

  std::future<NetworkAnswer> send(double timeout = 60) {
    ++sent;
    auto promise = std::make_shared<std::promise<NetworkAnswer>>();
    network->sendRequest(get("/theme?q=1", timeout), [this, promise](auto data, auto error, auto response) {
      ++completions;
      promise->set_value({std::move(data), std::move(error), std::move(response)});
    });
    return promise->get_future();
  }

  void expectError(std::future<NetworkAnswer> pending, Kind kind) {
    ASSERT_EQ(pending.wait_for(longestWait), std::future_status::ready);
    const NetworkAnswer answer = pending.get();
    EXPECT_FALSE(answer.data);
    EXPECT_FALSE(answer.response);
    const auto* error = answer.errorAs<CurlNetworkError>();
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->kind, kind) << error->text;
    EXPECT_THAT(error->text, AllOf(HasSubstr("127.0.0.1:"), Not(HasSubstr("\n")), Not(HasSubstr("q=1"))));
    EXPECT_FALSE(canary.isIn(error->text)) << error->text;
  }

  void meet(const ServerFault& fault) {
    SCOPED_TRACE(fault.name);
    server.replyAlways(fault.reply);
    expectError(send(fault.timeout), fault.kind);
  }

  void expectARightAnswer() {
    server.replyAlways(ScriptedServer::http("200 OK", "right"));
    auto pending = send();
    ASSERT_EQ(pending.wait_for(longestWait), std::future_status::ready);
    EXPECT_EQ(pending.get().body(), "right");
  }

  std::mutex mutex;
  const TokenCanary canary;
  ScriptedServer server;
  ScriptedServer elsewhere;
  const ServerFaults faults = serverFaults(elsewhere.hostAndPort(), canary.token());
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
    std::vector<std::future<NetworkAnswer>> pending;
    for (int i = 0; i < 10; ++i) pending.push_back(send(fault.timeout));
    for (auto& each : pending) expectError(std::move(each), fault.kind);
  }
}

TEST_P(CurlNetworkFaultTest, AShutDownInTheMiddleOfItIsAnErrorToo) {
  server.replyAlways({"HTTP/1.1 200 OK\r\nContent-Length: 9000000\r\n\r\n", Then::trickle});  // takes hours
  std::vector<std::future<NetworkAnswer>> pending;
  for (int i = 0; i < 12; ++i) pending.push_back(send());
  ASSERT_TRUE(server.waitForRequests(1));
  network.reset();
  for (auto& each : pending) expectError(std::move(each), Kind::shutDown);
}

}  // namespace
}  // namespace vellora::hostkit
