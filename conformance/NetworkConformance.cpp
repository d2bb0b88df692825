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

#include "conformance/Registration.h"
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

/// The one answer to a request; a failure of the test when there is none, or more than one.
Answers::Answer onlyAnswer(const Answers& answers, NetworkHost& host) {
  EXPECT_TRUE(answers.waitForOne(host.patience())) << "the completion is never called";
  const auto all = answers.all();
  EXPECT_LE(all.size(), 1U) << "the completion is called more than once";
  return all.empty() ? Answers::Answer{} : all.front();
}

Answers::Answer answerTo(Network& network, NetworkHost& host, const NetRequest& request = get(path)) {
  return onlyAnswer(*send(network, request), host);
}

void expectFailure(const Answers::Answer& answer) {
  EXPECT_EQ(answer.data, std::nullopt) << "what is not whole must not pass for an answer";
}

constexpr Guarantee<NetworkHost> guarantees[] = {
    {"ARequestIsCompletedOnceWithTheBody",
     [](NetworkHost& host) {
       ScriptedServer server;
       server.replyAlways(ScriptedServer::http("200 OK", "the body"));
       const auto network = host.connect(server.url());
       const SharedAnswers first = send(*network, get(path));
       const auto answer = onlyAnswer(*first, host);
       EXPECT_EQ(answer.data, Data(std::string("the body")));
       EXPECT_FALSE(answer.error.has_value());

       // Whoever completes a request again does so at the latest by the time that another one is through.
       EXPECT_TRUE(send(*network, get(path))->waitForOne(host.patience()));
       EXPECT_EQ(first->all().size(), 1U) << "the completion is called more than once";
     }},
    {"PathAndQueryAreSentAsTheyStand",
     [](NetworkHost& host) {
       ScriptedServer server;
       server.replyAlways(ScriptedServer::http("200 OK", "{}"));
       const std::string url =
           "/services/data/v50.0/query?q=SELECT%20Id%20FROM%20ListView%20WHERE%20Id%20%3D%20'00B/a+b%2520'";
       answerTo(*host.connect(server.url()), host, get(url));
       ASSERT_EQ(server.requests().size(), 1U);
       EXPECT_THAT(server.requests().front(), StartsWith("GET " + url + " HTTP/1.1\r\n"));
     }},
    {"TheBodyOfAnErrorStatusIsDeliveredOrThereIsAnError",
     [](NetworkHost& host) {
       ScriptedServer server;
       const auto network = host.connect(server.url());
       for (const char* status : {"201 Created", "404 Not Found", "500 Internal Server Error"}) {
         server.replyAlways(ScriptedServer::http(status, "the body"));
         const auto answer = answerTo(*network, host);
         const bool isError = status[0] != '2' && !answer.data && answer.error;
         EXPECT_TRUE(isError || answer.data == Data(std::string("the body"))) << status;
       }
     }},
    {"AnEmptyBodyIsPresentAndEmpty",
     [](NetworkHost& host) {
       ScriptedServer server;
       server.reply(ScriptedServer::http("200 OK"));
       EXPECT_EQ(answerTo(*host.connect(server.url()), host).data, Data());
     }},
    {"TheBytesOfABodyAreUnchanged",
     [](NetworkHost& host) {
       std::string bytes;
       for (int i = 0; i < 200'000; ++i) bytes.push_back(static_cast<char>(i * 31 >> 3));
       ScriptedServer server;
       server.reply(ScriptedServer::http("200 OK", bytes, {"Content-Type: application/json"}));
       const auto answer = answerTo(*host.connect(server.url()), host);
       EXPECT_TRUE(answer.data == Data(bytes));
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
       network->sendRequest(get(path + "?first"), [next = into(answers), again = network.get()](
                                                      const auto&, const auto&, const auto&) {
         again->sendRequest(get(path + "?next"), next);
       });
       EXPECT_EQ(onlyAnswer(*answers, host).data, Data(std::string("the body")));
     }},
    {"SeveralThreadsMaySendAtOnce",
     [](NetworkHost& host) {
       ScriptedServer server;
       server.replyAlways(ScriptedServer::http("200 OK", "the body"));
       const auto network = host.connect(server.url());
       runOnThreads(4, [&](int thread) {
         for (int round = 0; round < 5; ++round) {
           const std::string own = path + "?t=" + std::to_string(thread) + "-" + std::to_string(round);
           EXPECT_EQ(answerTo(*network, host, get(own)).data, Data(std::string("the body")));
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
