#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "bindings/c/ForeignTable.h"
#include "bindings/c/vellora.h"
#include "vellora/Host/NetRequest.h"
#include "vellora/Host/Network.h"
#include "vellora/Platform/Values/RetryAdvice.h"

/// A request on its way through a host, until it is replied to.
struct vellora_request {
  CorvaneSDK::Network::Completion completion;
};

namespace vellora::capi {

/// Why a host's network has no answer, in its own words.
///
/// Ownership: a plain value.
struct ForeignError {
  std::string text;
  std::optional<RetryAdvice> advice = {};

  [[nodiscard]] std::string localizedDescription() const { return text; }
  [[nodiscard]] std::optional<RetryAdvice> retryAdvice() const { return advice; }
};

/// The network of a host that gives a table of functions.
///
/// Ownership: shares the table. A request belongs to the host until it has replied to it.
///
/// Threads: as the table's functions.
///
/// Errors: `ForeignError`.
class ForeignNetwork final : public CorvaneSDK::Network {
 public:
  using Table = ForeignTable<vellora_network>;

  explicit ForeignNetwork(std::shared_ptr<const Table> table) : table_(std::move(table)) {}

  void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override;

 private:
  const std::shared_ptr<const Table> table_;
};

/// Ends `request` with `response`, and deletes it. Throws a `Refusal` of a response that is none, after it
/// has ended the request for that reason.
void reply(vellora_request* request, const vellora_response* response);

}  // namespace vellora::capi
