#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "tests/simulation/releases/Case.h"
#include "vellora/Host/Cache.h"
#include "vellora/Host/Logger.h"
#include "vellora/Host/Network.h"

namespace vellora::releases {

/// Told of each call to a facility before that does anything. What it releases may be the facility itself.
using OnCall = std::function<void(const std::string& call)>;

/// A network that keeps each request until it is told to answer. Like one over sockets, it fails what is
/// pending when it goes.
class HeldNetwork final : public CorvaneSDK::Network {
 public:
  HeldNetwork(Wire wire, OnCall onCall) : wire_(wire), onCall_(std::move(onCall)) {}
  ~HeldNetwork() override { failAll(); }
  HeldNetwork(const HeldNetwork&) = delete;
  HeldNetwork& operator=(const HeldNetwork&) = delete;

  void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override;

  /// Answers one request. False when there is none to answer.
  bool answerOne();

  void failAll();

 private:
  struct Pending {
    std::string url;
    Completion completion;
  };

  void answer(const Pending& pending) const;

  const Wire wire_;
  const OnCall onCall_;
  std::deque<Pending> pending_;
};

/// A cache in memory, and a log that is not kept, which tell of their calls.
[[nodiscard]] std::shared_ptr<CorvaneSDK::Cache> makeToldCache(OnCall onCall);
[[nodiscard]] std::shared_ptr<CorvaneSDK::Logger> makeToldLogger(OnCall onCall);

}  // namespace vellora::releases
