#pragma once

#include <string>

#include "vellora/Host/Network.h"

namespace vellora::command {

/// Why a request was not sent by a command that asks the cache alone.
struct NotOnline {
  [[nodiscard]] std::string localizedDescription() const { return "No server is asked with --offline."; }
};

/// The network of a command that asks the cache alone: sends nothing, and fails whatever is to be sent.
///
/// Threads: safe to use from several threads at once.
class NoNetwork final : public CorvaneSDK::Network {
 public:
  void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override;
};

}  // namespace vellora::command
