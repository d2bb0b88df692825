#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <future>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/network/CurlNetwork.h"
#include "testkit/HostileTricks.h"
#include "tests/hostkit/bodies/BodiesCache.h"
#include "tests/support/NetworkAnswer.h"
#include "tests/support/Requests.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/SlowBuild.h"
#include "tests/support/TlsServer.h"
#include "tests/support/TokenCanary.h"

namespace vellora::hostkit {
namespace {

using Kind = CurlNetworkError::Kind;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testkit::HostileTrick;
using testkit::hostileTricks;
using tests::get;
using tests::longestWait;
using tests::NetworkAnswer;
using tests::ScriptedServer;
using tests::TlsServer;
using tests::TokenCanary;
using Promise = HostileTrick::Promise;
using Then = ScriptedServer::Then;

constexpr std::size_t maxBodyBytes = 1000;

constexpr double soon = 0.05;  // seconds

/// What a request's completion is told of a trick that leaves it without an answer.
Kind kindOf(const HostileTrick& trick) {
  const std::map<std::string, Kind> exceptions{
      {"broken packing", Kind::protocol},
      {"strange packing", Kind::protocol},
      {"no HTTP", Kind::protocol},
      {"the token refused in its own words, half a body", Kind::errorStatus},
      {"says unasked that nothing has changed", Kind::errorStatus},
      {"an error in the token's words, broken packing", Kind::errorStatus}};
  if (const auto exception = exceptions.find(trick.name); exception != exceptions.end()) {
    return exception->second;
  }
  switch (trick.promise) {
    case Promise::inTime:
      return Kind::timedOut;
    case Promise::staysHere:
      return Kind::refusedRedirect;
    case Promise::boundedMemory:
      return Kind::tooLarge;
    default:
      return Kind::connectionLost;
  }
}

double timeoutFor(const HostileTrick& trick) {
  return trick.promise == Promise::inTime ? soon : 60;
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
    options.bodies = host.cache;
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
    const char* about = error->statusCode == 304    ? " for /theme, that nothing has changed"
                        : kind == Kind::errorStatus ? " for /theme: no [token]"
                                                    : "127.0.0.1:";
    EXPECT_THAT(error->text, AllOf(HasSubstr(about), Not(HasSubstr("\n")), Not(HasSubstr("q=1"))));
    EXPECT_FALSE(canary.isIn(error->text)) << error->text;
  }

  void play(const HostileTrick& trick, const std::string& rightBody) {
    server.replyBy([&trick, rightBody, this](const auto& request) {
      return trick.reply({request, rightBody, elsewhere.hostAndPort()});
    });
  }

  void expectRight(std::future<NetworkAnswer> pending, const std::string& body) {
    ASSERT_EQ(pending.wait_for(longestWait), std::future_status::ready);
    const NetworkAnswer answer = pending.get();
    EXPECT_EQ(answer.body(), body) << (answer.error ? answer.error->localizedDescription() : "");
  }

  /// Says on all connections, which are idle, what the trick says late. Over TLS that may still be on its way
  /// when the next request is sent: nobody can tell an answer from the right one then, but a 408 belongs to
  /// nobody even so.
  void sayLate(const HostileTrick& trick) {
    const bool mayComeLater = trick.late.starts_with("HTTP/1.1 408 ");
    if (!trick.late.empty() && (!tls || mayComeLater)) server.push(trick.late);
  }

  void meet(const HostileTrick& trick) {
    SCOPED_TRACE(trick.name);
    const std::string rightBody = "right for number " + std::to_string(sent);
    play(trick, rightBody);
    if (trick.isAnswered) {
      expectRight(send(), rightBody);
    } else {
      expectError(send(timeoutFor(trick)), kindOf(trick));
    }
    sayLate(trick);
  }

  void expectARightAnswer() {
    server.replyAlways(ScriptedServer::http("200 OK", "right"));
    expectRight(send(), "right");
  }

  std::mutex mutex;
  const TokenCanary canary;
  const BodiesCache host;
  ScriptedServer server;
  ScriptedServer elsewhere;
  const std::vector<HostileTrick> tricks = hostileTricks(maxBodyBytes);
  std::unique_ptr<TlsServer> tls;
  std::shared_ptr<CurlNetwork> network;
  std::vector<std::string> texts;  // under mutex: of all errors
  int sent = 0;
  std::atomic<int> completions = 0;
};

INSTANTIATE_TEST_SUITE_P(, CurlNetworkFaultTest, testing::Bool(),
                         [](const auto& withTls) { return withTls.param ? "WithTls" : "WithoutTls"; });

TEST_P(CurlNetworkFaultTest, EachIsOneClearErrorOrTheRightAnswerAndTheNextAnswerIsRight) {
  for (const HostileTrick& trick : tricks) {
    meet(trick);
    SCOPED_TRACE(trick.name);
    expectARightAnswer();
  }
}

// With TLS a pair shares no connection, hence nothing, unless both are answered.
using CurlNetworkFaultPairTest = CurlNetworkFaultTest;
INSTANTIATE_TEST_SUITE_P(, CurlNetworkFaultPairTest, testing::Values(false));

TEST_P(CurlNetworkFaultPairTest, OneAfterAnotherInAnyOrderAreTheSame) {
  constexpr std::size_t step = tests::codeIsSlow ? 3 : 1;
  std::vector<HostileTrick> quick;
  std::copy_if(tricks.begin(), tricks.end(), std::back_inserter(quick), [](const HostileTrick& trick) {
    return trick.promise != Promise::inTime;  // those leave nothing behind, and take their time
  });
  for (std::size_t first = 0; first < quick.size(); ++first) {
    for (std::size_t second = first % step; second < quick.size(); second += step) {
      SCOPED_TRACE(quick[first].name);
      meet(quick[first]);
      meet(quick[second]);
    }
    expectARightAnswer();
  }
}

TEST_P(CurlNetworkFaultTest, ThoseThatAreAnsweredInAnyOrderAreTheSame) {
  for (const HostileTrick& first : tricks) {
    for (const HostileTrick& second : tricks) {
      if (!first.isAnswered || !second.isAnswered) continue;
      SCOPED_TRACE(first.name);
      meet(first);
      meet(second);
    }
  }
}

TEST_P(CurlNetworkFaultTest, ManyAtOnceAreTheSameForEachRequest) {
  for (const HostileTrick& trick : tricks) {
    SCOPED_TRACE(trick.name);
    play(trick, "right");
    std::vector<std::future<NetworkAnswer>> pending;
    for (int i = 0; i < 10; ++i) pending.push_back(send(timeoutFor(trick)));
    for (auto& each : pending) {
      if (trick.isAnswered) {
        expectRight(std::move(each), "right");
      } else {
        expectError(std::move(each), kindOf(trick));
      }
    }
    sayLate(trick);
    expectARightAnswer();
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
