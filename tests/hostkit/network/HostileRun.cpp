#include "tests/hostkit/network/HostileRun.h"

#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "hostkit/network/CoalescingNetwork.h"
#include "hostkit/network/CurlNetwork.h"
#include "testkit/HostileServer.h"
#include "tests/hostkit/bodies/BodiesCache.h"
#include "tests/support/NetworkAnswer.h"
#include "tests/support/Requests.h"
#include "tests/support/TokenCanary.h"

namespace vellora::hostkit {

namespace {

using testkit::HostileServer;
using testkit::HostileTrick;
using tests::NetworkAnswer;

constexpr std::size_t threadCount = 8;
constexpr std::size_t underWay = 4;  // requests of a thread at a time
constexpr std::size_t largestBody = 10'000;
constexpr double soon = 0.05;  // seconds

class Round {
 public:
  explicit Round(std::uint64_t seed) : server_(seed, largestBody) {
    CurlNetwork::Options options{.server = server_.url()};
    options.token = [this] { return std::optional(canary_.token()); };
    options.maxBodyBytes = largestBody;
    options.bodies = host_.cache;
    network_ = std::make_shared<CoalescingNetwork>(CurlNetwork::make(std::move(options)).value());
  }

  std::optional<std::string> run(std::size_t requestsOfAThread) {
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < threadCount; ++thread) {
      threads.emplace_back([this, thread, requestsOfAThread] { sendShare(thread, requestsOfAThread); });
    }
    for (std::thread& thread : threads) thread.join();
    cutOff();
    if (server_.connectionsElsewhere() > 0) breach("another server was asked");
    return breach_;
  }

  void addTo(HostileTally& tally) const {
    tally.requests += sent_.size();
    tally.answers += answers_;
    tally.failures += failures_;
    tally.cutOff += cutOff_;
    for (const auto& [trick, count] : server_.played()) tally.played[trick] += count;
  }

 private:
  /// A request, and how often it was completed.
  struct Sent {
    std::string target;
    std::promise<NetworkAnswer> promise;
    std::future<NetworkAnswer> answer = promise.get_future();
    int completions = 0;  // under mutex_
  };

  /// What the request of that number asks for. Every fourth asks for what the one before does, and may share
  /// its answer. Every fourth asks again for what was answered before, with a condition where that is kept.
  static std::size_t targetOf(std::size_t number) {
    if (number % underWay == 1) return number - 1;
    return number % underWay == 2 ? number - number % (2 * underWay) + 2 : number;
  }

  void sendShare(std::size_t thread, std::size_t count) {
    std::vector<std::shared_ptr<Sent>> pending;
    for (std::size_t number = 0; number < count; ++number) {
      const std::string target = std::to_string(thread) + "?n=" + std::to_string(targetOf(number));
      pending.push_back(send("/services/" + target));
      if (pending.size() < underWay) continue;
      for (const auto& each : pending) judge(*each);
      pending.clear();
    }
    for (const auto& each : pending) judge(*each);
  }

  std::shared_ptr<Sent> send(std::string target) {
    const bool isSlow = server_.trickOn(target).promise == HostileTrick::Promise::inTime;
    auto sent = std::make_shared<Sent>();
    sent->target = std::move(target);
    {
      const std::lock_guard lock(mutex_);
      sent_.push_back(sent);
    }
    network_->sendRequest(
        tests::get(sent->target, isSlow ? soon : 60), [this, sent](auto data, auto error, auto response) {
          if (isFirst(*sent)) {
            sent->promise.set_value({std::move(data), std::move(error), std::move(response)});
          }
        });
    return sent;
  }

  bool isFirst(Sent& sent) {
    const std::lock_guard lock(mutex_);
    return ++sent.completions == 1;
  }

  void judge(Sent& sent) {
    if (sent.answer.wait_for(tests::longestWait) != std::future_status::ready) {
      return breach("no completion for " + sent.target);
    }
    const NetworkAnswer answer = sent.answer.get();
    const HostileTrick& trick = server_.trickOn(sent.target);
    const std::string about = sent.target + " (" + trick.name + "): ";
    const std::string text = answer.error ? answer.error->localizedDescription() : "";
    if (canary_.isIn(text) || text.find('\n') != std::string::npos)
      breach(about + "an error that tells too much");
    if (trick.isAnswered && answer.body() != HostileServer::rightBody(sent.target)) {
      breach(about + "not the right answer but " + answer.body() + text);
    }
    if (!trick.isAnswered && (answer.data || !answer.error)) breach(about + "an answer: " + answer.body());
    const std::lock_guard lock(mutex_);
    ++(trick.isAnswered ? answers_ : failures_);
  }

  /// Lets go of the network with requests under way, and looks at how often each of all was completed.
  void cutOff() {
    std::vector<std::shared_ptr<Sent>> last;
    for (std::size_t number = 0; number < 2 * threadCount; ++number) {
      last.push_back(send("/last?n=" + std::to_string(number)));
    }
    network_.reset();
    cutOff_ = last.size();
    for (const auto& sent : sent_) {
      if (sent->completions != 1) {
        breach(sent->target + " was completed " + std::to_string(sent->completions) + " times");
      }
    }
  }

  void breach(const std::string& what) {
    const std::lock_guard lock(mutex_);
    if (!breach_) breach_ = what;
  }

  const tests::TokenCanary canary_;
  const BodiesCache host_;
  HostileServer server_;
  std::shared_ptr<CorvaneSDK::Network> network_;
  std::mutex mutex_;
  // All below under mutex_.
  std::vector<std::shared_ptr<Sent>> sent_;
  std::size_t answers_ = 0;
  std::size_t failures_ = 0;
  std::size_t cutOff_ = 0;
  std::optional<std::string> breach_;
};

}  // namespace

std::optional<std::string> runHostileRound(std::uint64_t seed, std::size_t requestsOfAThread,
                                           HostileTally& tally) {
  Round round(seed);
  auto breach = round.run(requestsOfAThread);
  round.addTo(tally);
  return breach;
}

}  // namespace vellora::hostkit
