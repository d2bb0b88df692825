#pragma once

#include <memory>
#include <optional>
#include <string>

#include "vellora/Host/NetRequest.h"
#include "vellora/Host/Network.h"

namespace vellora::command {

/// Passes requests on, and knows which of them have no answer yet, and how many completions are running.
///
/// Ownership: shares the other network. Completions may outlive this one.
///
/// Threads: as safe as the other network.
class SettlingNetwork final : public CorvaneSDK::Network {
 public:
  explicit SettlingNetwork(std::shared_ptr<CorvaneSDK::Network> next);

  void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override;

  /// Waits until no completion is running.
  void settle() const;

  /// The path of the oldest request that has no answer yet; no value when there is none.
  [[nodiscard]] std::optional<std::string> unanswered() const;

 private:
  class Requests;

  const std::shared_ptr<CorvaneSDK::Network> next_;
  const std::shared_ptr<Requests> requests_;
};

}  // namespace vellora::command
