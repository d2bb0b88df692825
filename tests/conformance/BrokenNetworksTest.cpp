#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "conformance/NetworkConformance.h"
#include "hostkit/network/CurlNetwork.h"
#include "hostkit/network/CurlNetworkError.h"
#include "tests/conformance/BrokenHosts.h"
#include "tests/support/HttpClient.h"
#include "vellora/Platform/Web/URLComponents.h"

namespace vellora::conformance::tests {
namespace {

using CorvaneSDK::NetRequest;
using CorvaneSDK::Network;
using Kind = hostkit::CurlNetworkError::Kind;
using testing::_;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;

/// Passes every request on to a right network; derive from it to break one thing.
class PassingNetwork : public Network {
 public:
  explicit PassingNetwork(const std::string& serverUrl)
      : next_(hostkit::CurlNetwork::make({.server = serverUrl}).value()) {}

  void sendRequest(const NetRequest& request, Completion completion) override {
    next_->sendRequest(request, std::move(completion));
  }

  /// As that of a `NetworkHost`; for a network that keeps a completion for ever.
  [[nodiscard]] virtual std::chrono::milliseconds patience() const { return std::chrono::seconds(60); }

 protected:
  const std::shared_ptr<Network> next_;
};

template <class N>
class PassingNetworkHost final : public NetworkHost {
 public:
  std::shared_ptr<Network> connect(const std::string& serverUrl) override {
    auto network = std::make_shared<N>(serverUrl);
    network_ = network;
    return network;
  }

  std::chrono::milliseconds patience() const override {
    const auto network = network_.lock();
    return network ? network->patience() : NetworkHost::patience();
  }

 private:
  std::weak_ptr<N> network_;
};

using Guarantees = std::span<const Guarantee<NetworkHost>>;

template <class N>
std::map<std::string, std::string> failuresOfNetwork(Guarantees guarantees = networkGuarantees()) {
  const std::function<std::unique_ptr<NetworkHost>()> make = [] {
    return std::make_unique<PassingNetworkHost<N>>();
  };
  return tests::failuresOf(make, guarantees);
}

/// The guarantee of that name, alone.
Guarantees only(std::string_view name) {
  const Guarantees all = networkGuarantees();
  const auto found = std::find_if(all.begin(), all.end(), [&](const auto& one) { return one.name == name; });
  return found == all.end() ? Guarantees() : Guarantees(&*found, 1);
}

template <class N>
std::set<std::string> brokenByNetwork() {
  std::set<std::string> broken;
  for (const auto& [name, failure] : failuresOfNetwork<N>()) broken.insert(name);
  return broken;
}

TEST(BrokenNetworksTest, ARightNetworkBreaksNothing) {
  EXPECT_THAT(brokenByNetwork<PassingNetwork>(), IsEmpty());
}

TEST(BrokenNetworksTest, CompletingAnAnswerTwiceIsFound) {
  class Broken final : public PassingNetwork {
   public:
    using PassingNetwork::PassingNetwork;
    void sendRequest(const NetRequest& request, Completion completion) override {
      const bool isLone = request.base().url.absoluteString() == "/services/data/v50.0/theme";
      next_->sendRequest(request, [completion, isLone](auto data, auto error, auto response) {
        completion(data, error, response);
        const bool isFirstBody = isLone && data && data->view() == "the body" && response->statusCode == 200;
        if (isFirstBody) completion(data, error, response);
      });
    }
  };
  EXPECT_THAT(failuresOfNetwork<Broken>(),
              ElementsAre(Pair("ARequestIsCompletedOnceWithTheBody", HasSubstr("called more than once"))));
}

// Never completes a request that fails in that way.
template <Kind kind>
class Silent final : public PassingNetwork {
 public:
  using PassingNetwork::PassingNetwork;
  void sendRequest(const NetRequest& request, Completion completion) override {
    next_->sendRequest(request, [completion](auto data, auto error, auto response) {
      const auto* failure = error ? error->template as<hostkit::CurlNetworkError>() : nullptr;
      if (failure == nullptr || failure->kind != kind) {
        completion(std::move(data), std::move(error), std::move(response));
      }
    });
  }
};

TEST(BrokenNetworksTest, NeverCompletingARequestToNobodyIsFound) {
  EXPECT_THAT(failuresOfNetwork<Silent<Kind::unreachable>>(),
              ElementsAre(Pair("ARequestToNobodyIsCompletedWithoutABody",
                               HasSubstr("the completion is let go of, and never called"))));
}

TEST(BrokenNetworksTest, NeverCompletingWhatIsUnderWayAtTheEndIsFound) {
  EXPECT_THAT(brokenByNetwork<Silent<Kind::shutDown>>(),
              ElementsAre("ARequestUnderWayIsCompletedWhenTheNetworkIsLetGoOf"));
}

TEST(BrokenNetworksTest, AnErrorStatusWithNeitherBodyNorErrorIsFound) {
  class Broken final : public PassingNetwork {
   public:
    using PassingNetwork::PassingNetwork;
    void sendRequest(const NetRequest& request, Completion completion) override {
      next_->sendRequest(request, [completion](auto data, auto error, auto response) {
        const auto* failure = error ? error->template as<hostkit::CurlNetworkError>() : nullptr;
        if (failure != nullptr && failure->statusCode >= 400) error.reset();
        completion(std::move(data), std::move(error), std::move(response));
      });
    }
  };
  EXPECT_THAT(brokenByNetwork<Broken>(), ElementsAre("TheBodyOfAnErrorStatusIsDeliveredOrThereIsAnError"));
}

TEST(BrokenNetworksTest, TakingAnEmptyBodyForNoneIsFound) {
  class Broken final : public PassingNetwork {
   public:
    using PassingNetwork::PassingNetwork;
    void sendRequest(const NetRequest& request, Completion completion) override {
      next_->sendRequest(request, [completion](auto data, auto error, auto response) {
        if (data && data->empty()) data.reset();
        completion(std::move(data), std::move(error), std::move(response));
      });
    }
  };
  EXPECT_THAT(brokenByNetwork<Broken>(), ElementsAre("AnEmptyBodyIsPresentAndEmpty"));
}

TEST(BrokenNetworksTest, IgnoringTheTimeOfARequestIsFound) {
  class Broken final : public PassingNetwork {
   public:
    using PassingNetwork::PassingNetwork;
    void sendRequest(const NetRequest& request, Completion completion) override {
      URLRequest patient = request.base();
      if (patient.timeoutInterval < 1) wasHurried_ = true;
      patient.timeoutInterval = 600;
      next_->sendRequest(NetRequest(std::move(patient)), std::move(completion));
    }
    // The request that is in a hurry is never answered, so there is nothing to wait for.
    std::chrono::milliseconds patience() const override {
      return wasHurried_ ? std::chrono::milliseconds(1) : PassingNetwork::patience();
    }

   private:
    std::atomic<bool> wasHurried_ = false;
  };
  EXPECT_THAT(brokenByNetwork<Broken>(), ElementsAre("ARequestIsCompletedWhenItsTimeIsUp"));
}

TEST(BrokenNetworksTest, HandingOutHalfABodyIsFound) {
  class Broken final : public PassingNetwork {
   public:
    using PassingNetwork::PassingNetwork;
    void sendRequest(const NetRequest& request, Completion completion) override {
      next_->sendRequest(request, [completion](auto data, auto error, auto response) {
        const auto* failure = error ? error->template as<hostkit::CurlNetworkError>() : nullptr;
        const bool isBroken = failure != nullptr && failure->kind == Kind::connectionLost;
        if (isBroken) data = Data(std::string("half"));
        completion(std::move(data), std::move(error), std::move(response));
      });
    }
  };
  EXPECT_THAT(brokenByNetwork<Broken>(), ElementsAre("AnAnswerThatBreaksOffIsCompletedWithoutABody"));
}

TEST(BrokenNetworksTest, DecodingTheQueryIsFound) {
  class Broken final : public PassingNetwork {
   public:
    using PassingNetwork::PassingNetwork;
    void sendRequest(const NetRequest& request, Completion completion) override {
      URLRequest other = request.base();
      std::string text = other.url.absoluteString();
      if (const auto found = text.find("%2520"); found != std::string::npos) text.replace(found, 5, "%20");
      other.url = URLComponents::parse(text)->url().value();
      next_->sendRequest(NetRequest(std::move(other)), std::move(completion));
    }
  };
  EXPECT_THAT(brokenByNetwork<Broken>(), ElementsAre("PathAndQueryAreSentAsTheyStand"));
}

TEST(BrokenNetworksTest, ChangingTheBytesOfABodyIsFound) {
  class Broken final : public PassingNetwork {
   public:
    using PassingNetwork::PassingNetwork;
    void sendRequest(const NetRequest& request, Completion completion) override {
      next_->sendRequest(request, [completion](auto data, auto error, auto response) {
        if (data) data = Data(std::string(data->view().substr(0, data->view().find('\0'))));
        completion(std::move(data), std::move(error), std::move(response));
      });
    }
  };
  EXPECT_THAT(brokenByNetwork<Broken>(), ElementsAre("TheBytesOfABodyAreUnchanged"));
}

TEST(BrokenNetworksTest, AnotherBodyIsShownAsText) {
  class Broken final : public PassingNetwork {
   public:
    using PassingNetwork::PassingNetwork;
    void sendRequest(const NetRequest& request, Completion completion) override {
      next_->sendRequest(request, [completion](auto data, auto error, auto response) {
        if (data && data->view() == "the body") data = Data(std::string("another one"));
        completion(std::move(data), std::move(error), std::move(response));
      });
    }
  };
  EXPECT_THAT(failuresOfNetwork<Broken>(),
              Contains(Pair("ARequestIsCompletedOnceWithTheBody",
                            AllOf(HasSubstr("\"another one\""), HasSubstr("\"the body\"")))));
}

// Keeps every completion until `answer` calls them, at a time when the tests have given all of them up.
class LateHost final : public NetworkHost {
 public:
  /// What outlives the host, so that a network that is used too late can tell.
  struct Kept {
    std::vector<Network::Completion> waiting;
    std::vector<std::unique_ptr<Network>> networks;

    void answer() {
      for (const auto& completion : std::exchange(waiting, {})) {
        completion(Data(std::string("the body")), std::nullopt, std::nullopt);
      }
    }
  };

  explicit LateHost(std::shared_ptr<Kept> kept) : kept_(std::move(kept)) {}

  std::shared_ptr<Network> connect(const std::string&) override {
    auto made = std::make_unique<LateNetwork>(kept_);
    auto* const network = made.get();
    kept_->networks.push_back(std::move(made));
    return {network, [](LateNetwork* gone) { gone->wasLetGoOf = true; }};
  }
  std::chrono::milliseconds patience() const override { return std::chrono::milliseconds(1); }

 private:
  class LateNetwork final : public Network {
   public:
    explicit LateNetwork(std::weak_ptr<Kept> kept) : kept_(std::move(kept)) {}

    void sendRequest(const NetRequest&, Completion completion) override {
      EXPECT_FALSE(wasLetGoOf) << "a network is used that the test has let go of";
      const std::lock_guard lock(mutex_);
      if (const auto kept = kept_.lock()) kept->waiting.push_back(std::move(completion));
    }

    bool wasLetGoOf = false;

   private:
    std::mutex mutex_;  // several threads send
    const std::weak_ptr<Kept> kept_;
  };

  const std::shared_ptr<Kept> kept_;
};

TEST(BrokenNetworksTest, ANetworkThatIsSlowerThanItsPatienceIsToldOfAndHarmsNobodyLater) {
  const auto kept = std::make_shared<LateHost::Kept>();
  const std::function<std::unique_ptr<NetworkHost>()> make = [&kept] {
    return std::make_unique<LateHost>(kept);
  };
  const auto failures = tests::failuresOf(make, networkGuarantees());
  EXPECT_EQ(failures.size(), networkGuarantees().size());
  for (const auto& [name, failure] : failures) EXPECT_THAT(failure, Not(HasSubstr("more than once"))) << name;
  EXPECT_THAT(failures.at("ARequestIsCompletedOnceWithTheBody"),
              HasSubstr("not called within the host's patience of 1 ms"));
  kept->answer();
}

TEST(BrokenNetworksTest, AnAnswerThatComesWhenItWasGivenUpIsNoSecondOne) {
  // Answers the first request when the second one comes, when the test no longer waits for it.
  class Broken final : public PassingNetwork {
   public:
    using PassingNetwork::PassingNetwork;
    void sendRequest(const NetRequest&, Completion completion) override {
      if (!first_) {
        first_ = std::move(completion);
        return;
      }
      first_(Data(std::string("the body")), std::nullopt, std::nullopt);
      completion(Data(std::string("the body")), std::nullopt, std::nullopt);
    }
    std::chrono::milliseconds patience() const override { return std::chrono::milliseconds(1); }

   private:
    Completion first_;
  };
  EXPECT_THAT(failuresOfNetwork<Broken>(only("ARequestIsCompletedOnceWithTheBody")),
              ElementsAre(Pair(_, AllOf(HasSubstr("not called within the host's patience"),
                                        Not(HasSubstr("more than once"))))));
}

// A client of HTTP/1.0, to which an answer is over when its connection is.
class OldNetwork final : public Network {
 public:
  explicit OldNetwork(const std::string& serverUrl)
      : port_(static_cast<std::uint16_t>(std::stoi(serverUrl.substr(serverUrl.rfind(':') + 1)))) {}

  void sendRequest(const NetRequest& request, Completion completion) override {
    vellora::test::HttpClient client(port_);
    client.send("GET " + request.base().url.absoluteString() + " HTTP/1.0\r\n\r\n");
    const auto answer = client.receive();
    if (client.receiveEnd()) completion(Data(answer.body), std::nullopt, std::nullopt);
  }

 private:
  const std::uint16_t port_;
};

TEST(BrokenNetworksTest, ANetworkMaySpeakHttp10) {
  class OldHost final : public NetworkHost {
   public:
    std::shared_ptr<Network> connect(const std::string& serverUrl) override {
      return std::make_shared<OldNetwork>(serverUrl);
    }
  };
  const std::function<std::unique_ptr<NetworkHost>()> make = [] { return std::make_unique<OldHost>(); };
  // The others try what so simple a client does not attempt.
  for (const auto* name :
       {"ARequestIsCompletedOnceWithTheBody", "PathAndQueryAreSentAsTheyStand", "TheBytesOfABodyAreUnchanged",
        "ACompletionMaySendARequest", "SeveralThreadsMaySendAtOnce"}) {
    ASSERT_FALSE(only(name).empty()) << name;
    EXPECT_THAT(tests::failuresOf(make, only(name)), IsEmpty());
  }
}

}  // namespace
}  // namespace vellora::conformance::tests
