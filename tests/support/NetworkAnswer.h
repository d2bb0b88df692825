#pragma once

#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "vellora/Host/NetRequest.h"
#include "vellora/Host/Network.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Web/URLResponse.h"

namespace vellora::tests {

/// Longer than any answer takes, so that a test which waits in vain fails instead of hanging.
inline constexpr std::chrono::seconds longestWait{60};

/// What the completion of a request was called with.
struct NetworkAnswer {
  std::optional<Data> data;
  std::optional<Error> error;
  std::optional<URLResponse> response;

  [[nodiscard]] std::string body() const { return data ? std::string(data->view()) : "(no body)"; }

  /// 0 without a response.
  [[nodiscard]] int status() const { return response ? response->statusCode : 0; }

  /// The error as an `E`; null when there is none, or one of another type.
  template <class E>
  [[nodiscard]] const E* errorAs() const {
    return error ? error->template as<E>() : nullptr;
  }
};

/// Sends `request`. The future gets the answer on the thread where the network completes it.
[[nodiscard]] inline std::future<NetworkAnswer> send(CorvaneSDK::Network& network,
                                                     const CorvaneSDK::NetRequest& request) {
  auto promise = std::make_shared<std::promise<NetworkAnswer>>();
  network.sendRequest(request, [promise](auto data, auto error, auto response) {
    promise->set_value({std::move(data), std::move(error), std::move(response)});
  });
  return promise->get_future();
}

/// Sends `request` and waits for its answer, which is empty when none came.
inline NetworkAnswer answerTo(CorvaneSDK::Network& network, const CorvaneSDK::NetRequest& request) {
  auto answer = send(network, request);
  return answer.wait_for(longestWait) == std::future_status::ready ? answer.get() : NetworkAnswer();
}

}  // namespace vellora::tests
