#include "conformance/NetworkConformance.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "conformance/Loan.h"
#include "conformance/Registration.h"
#include "conformance/Texts.h"
#include "conformance/Threads.h"
#include "tests/support/ScriptedServer.h"
#include "vellora/Platform/Web/URLComponents.h"

namespace vellora::conformance {

namespace {

using CorvaneSDK::NetRequest;
using CorvaneSDK::Network;
using testing::StartsWith;
using tests::ScriptedServer;

/// What a request's completion was called with, each time. Shared with the completion, which may be called
/// long after the test gave it up.
class Answers {
 public:
  struct Answer {
    std::optional<Data> data;
    std::optional<Error> error;
  };

  void add(std::optional<Data> data, std::optional<Error> error) {
    const std::lock_guard lock(mutex_);
    all_.push_back({std::move(data), std::move(error)});
    changed_.notify_all();
  }

  /// No more answers can come: the completion no longer exists.
  void end() {
    const std::lock_guard lock(mutex_);
    ended_ = true;
    changed_.notify_all();
  }

  /// Waits for the first answer; false when the completion is let go of without one, or `limit` is over.
  [[nodiscard]] bool waitForOne(std::chrono::milliseconds limit) const {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, limit, [this] { return ended_ || !all_.empty(); });
    return !all_.empty();
  }

  /// Whether no answers can come any more.
  [[nodiscard]] bool ended() const {
    const std::lock_guard lock(mutex_);
    return ended_;
  }

  [[nodiscard]] std::vector<Answer> all() const {
    const std::lock_guard lock(mutex_);
    return all_;
  }

 private:
  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  std::vector<Answer> all_;  // under mutex_
  bool ended_ = false;       // under mutex_
};

using SharedAnswers = std::shared_ptr<Answers>;

NetRequest get(const std::string& url, double timeoutSeconds = 60) {
  return NetRequest(URLRequest(URLComponents::parse(url)->url().value(),
                               URLRequestCachePolicy::useProtocolCachePolicy, timeoutSeconds));
}

const std::string path = "/services/data/v50.0/theme";

/// A completion that keeps in `answers` what it is called with, and tells them when its last copy is gone.
Network::Completion into(const SharedAnswers& answers) {
  const std::shared_ptr<Answers> untilLetGoOf(answers.get(), [answers](Answers*) { answers->end(); });
  return [untilLetGoOf](auto data, auto error, const auto&) {
    untilLetGoOf->add(std::move(data), std::move(error));
  };
}

SharedAnswers send(Network& network, const NetRequest& request) {
  auto answers = std::make_shared<Answers>();
  network.sendRequest(request, into(answers));
  return answers;
}

/// The one answer to a request. Absent when there is none in time, which fails the test: nothing can be said
/// of what it would have been.
std::optional<Answers::Answer> onlyAnswer(const Answers& answers, NetworkHost& host) {
  const auto patience = host.patience();
  if (!answers.waitForOne(patience)) {
    ADD_FAILURE() << (answers.ended() ? "the completion is let go of, and never called"
                                      : "the completion is not called within the host's patience of " +
                                            std::to_string(patience.count()) + " ms");
    return std::nullopt;
  }
  const auto all = answers.all();
  EXPECT_EQ(all.size(), 1U) << "the completion is called more than once";
  return all.front();
}

std::optional<Answers::Answer> answerTo(Network& network, NetworkHost& host,
                                        const NetRequest& request = get(path)) {
  return onlyAnswer(*send(network, request), host);
}

void expectFailure(const std::optional<Answers::Answer>& answer) {
  if (answer) {
    EXPECT_EQ(text(answer->data), std::nullopt) << "what is not whole must not pass for an answer";
  }
}

void expectBody(const std::optional<Answers::Answer>& answer, const std::string& body) {
  if (!answer) return;
  EXPECT_EQ(text(answer->data), body);
  EXPECT_FALSE(answer->error.has_value()) << answer->error->localizedDescription();
}

constexpr Guarantee<NetworkHost> guarantees[] = {
    {"ARequestIsCompletedOnceWithTheBody",
     [](NetworkHost& host) {
       ScriptedServer server;
       server.replyAlways(ScriptedServer::http("200 OK", "the body"));
       const auto network = host.connect(server.url());
       const SharedAnswers first = send(*network, get(path));
       expectBody(onlyAnswer(*first, host), "the body");

       // Whoever completes a request again does so at the latest by the time that another one is through.
       EXPECT_TRUE(send(*network, get(path))->waitForOne(host.patience()));
       EXPECT_LE(first->all().size(), 1U) << "the completion is called more than once";
     }},
    {"PathAndQueryAreSentAsTheyStand",
     [](NetworkHost& host) {
       ScriptedServer server;
       server.replyAlways(ScriptedServer::http("200 OK", "{}"));
       const std::string url =
           "/services/data/v50.0/query?q=SELECT%20Id%20FROM%20ListView%20WHERE%20Id%20%3D%20'00B/a+b%2520'";
       answerTo(*host.connect(server.url()), host, get(url));
       ASSERT_EQ(server.requests().size(), 1U);
       EXPECT_THAT(server.requests().front(), StartsWith("GET " + url + " HTTP/1."));
     }},
    {"TheBodyOfAnErrorStatusIsDeliveredOrThereIsAnError",
     [](NetworkHost& host) {
       ScriptedServer server;
       const auto network = host.connect(server.url());
       for (const char* status : {"201 Created", "404 Not Found", "500 Internal Server Error"}) {
         server.replyAlways(ScriptedServer::http(status, "the body"));
         const auto answer = answerTo(*network, host);
         if (!answer) return;
         const bool isError = status[0] != '2' && !answer->data && answer->error;
         if (!isError) {
           EXPECT_EQ(text(answer->data), "the body") << status;
         }
       }
     }},
    {"AnEmptyBodyIsPresentAndEmpty",
     [](NetworkHost& host) {
       ScriptedServer server;
       server.reply(ScriptedServer::http("200 OK"));
       expectBody(answerTo(*host.connect(server.url()), host), "");
     }},
    {"TheBytesOfABodyAreUnchanged",
     [](NetworkHost& host) {
       std::string bytes;
       for (int i = 0; i < 200'000; ++i) bytes.push_back(static_cast<char>(i * 31 >> 3));
       ScriptedServer server;
       server.reply(ScriptedServer::http("200 OK", bytes, {"Content-Type: application/json"}));
       const auto answer = answerTo(*host.connect(server.url()), host);
       EXPECT_TRUE(!answer || answer->data == Data(bytes)) << "the body is another one";
     }},
    {"ARequestToNobodyIsCompletedWithoutABody",
     [](NetworkHost& host) {
       const auto network = host.connect("http://127.0.0.1:" + std::to_string(tests::closedPort()));
       expectFailure(answerTo(*network, host));
     }},
    {"AnAnswerThatBreaksOffIsCompletedWithoutABody",
     [](NetworkHost& host) {
       ScriptedServer server;
       server.replyAlways(
           {"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf", ScriptedServer::Then::close});
       expectFailure(answerTo(*host.connect(server.url()), host));
     }},
    {"ARequestIsCompletedWhenItsTimeIsUp",
     [](NetworkHost& host) {
       ScriptedServer server;  // has no reply
       const auto network = host.connect(server.url());
       expectFailure(answerTo(*network, host, get(path, 0.3)));
     }},
    {"ARequestUnderWayIsCompletedWhenTheNetworkIsLetGoOf",
     [](NetworkHost& host) {
       ScriptedServer server;  // has no reply
       auto network = host.connect(server.url());
       const SharedAnswers answers = send(*network, get(path));
       ASSERT_TRUE(server.waitForRequests(1, host.patience()));
       network.reset();
       expectFailure(onlyAnswer(*answers, host));
     }},
    {"ACompletionMaySendARequest",
     [](NetworkHost& host) {
       ScriptedServer server;
       server.replyAlways(ScriptedServer::http("200 OK", "the body"));
       const auto network = host.connect(server.url());
       const auto answers = std::make_shared<Answers>();
       const Loan<Network> loan(*network);
       network->sendRequest(get(path + "?first"),
                            [next = into(answers), borrow = loan.borrower()](auto&&...) {
                              borrow([&](Network& again) { again.sendRequest(get(path + "?next"), next); });
                            });
       expectBody(onlyAnswer(*answers, host), "the body");
     }},
    {"SeveralThreadsMaySendAtOnce",
     [](NetworkHost& host) {
       ScriptedServer server;
       server.replyAlways(ScriptedServer::http("200 OK", "the body"));
       const auto network = host.connect(server.url());
       runOnThreads(4, [&](int thread) {
         for (int round = 0; round < 5; ++round) {
           const std::string own = path + "?t=" + std::to_string(thread) + "-" + std::to_string(round);
           expectBody(answerTo(*network, host, get(own)), "the body");
         }
       });
     }},
};

}  // namespace

std::span<const Guarantee<NetworkHost>> networkGuarantees() {
  return guarantees;
}

void registerNetworkConformance(const std::string& suite,
                                const std::function<std::unique_ptr<NetworkHost>()>& make) {
  registerTrials(suite, networkGuarantees(), make);
}

}  // namespace vellora::conformance
