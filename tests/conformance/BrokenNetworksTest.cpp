#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "conformance/NetworkConformance.h"
#include "hostkit/network/CurlNetwork.h"
#include "hostkit/network/CurlNetworkError.h"
#include "tests/conformance/BrokenHosts.h"
#include "vellora/Platform/Web/URLComponents.h"

namespace vellora::conformance::tests {
namespace {

using CorvaneSDK::NetRequest;
using CorvaneSDK::Network;
using Kind = hostkit::CurlNetworkError::Kind;
using testing::ElementsAre;
using testing::IsEmpty;

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

template <class N>
std::set<std::string> brokenByNetwork() {
  const std::function<std::unique_ptr<NetworkHost>()> make = [] {
    return std::make_unique<PassingNetworkHost<N>>();
  };
  return tests::brokenBy(make, networkGuarantees());
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
  EXPECT_THAT(brokenByNetwork<Broken>(), ElementsAre("ARequestIsCompletedOnceWithTheBody"));
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
  EXPECT_THAT(brokenByNetwork<Silent<Kind::unreachable>>(),
              ElementsAre("ARequestToNobodyIsCompletedWithoutABody"));
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

}  // namespace
}  // namespace vellora::conformance::tests
