#pragma once

#include <atomic>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "vellora/DataServices/FailureLog.h"
#include "vellora/DataServices/Requester.h"
#include "vellora/DataServices/SObjectsDataServiceError.h"
#include "vellora/DataServices/Sending.h"
#include "vellora/Host/NetRequest.h"
#include "vellora/Host/Network.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Publishers/Promise.h"
#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Values/OutOfMemory.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora {

/// What a download for a layout service has brought: a body or an error.
template <class Body>
struct Download {
  std::optional<Body> body;
  std::optional<SObjectsDataServiceError> error;  ///< `network` without a body, `decoding` for a wrong one
};

/// `json::decode`, with `OutOfMemory` as the error when there is no memory for the value.
template <class T>
[[nodiscard]] Result<T> decodedInMemory(const Data& text) {
  try {
    return json::decode<T>(text);
  } catch (const std::bad_alloc&) {
    return outOfMemory();
  }
}

/// Reads the network's answer to the request to `url`. Notes in `log` what the network or the decoder said;
/// of a missing body without an error nothing.
template <class Body>
[[nodiscard]] Download<Body> downloadFrom(const NetworkAnswer& answer, const FailureLog& log,
                                          const std::string& url) {
  if (!answer) {
    log.note(": Network request error:  ", answer.error());
    return {std::nullopt, SObjectsDataServiceError::network().ofRequest(url, answer.error())};
  }
  if (!answer.value())
    return {std::nullopt, SObjectsDataServiceError::network().ofRequest(url, std::nullopt)};
  auto body = decodedInMemory<Body>(*answer.value());
  if (body) return {std::move(body).value(), std::nullopt};
  log.note(": Failed to decode: ", body.error());
  return {std::nullopt, SObjectsDataServiceError::decoding().ofRequest(url, body.error())};
}

/// Sends `request` now and calls `then(Download<Body>)` once, on the thread on which the network calls back;
/// a second answer of the network is ignored. A body counts also beside an error.
template <class Body, class Then>
void download(CorvaneSDK::Network& network, const CorvaneSDK::NetRequest& request, FailureLog log, Then then,
              const Fetching& fetching = {}) {
  send(network, request, Preferred::body, fetching,
       [answered = std::make_shared<std::atomic_flag>(), log = std::move(log),
        url = request.base().url.absoluteString(), then = std::move(then)](const NetworkAnswer& answer) {
         if (answered->test_and_set()) return;
         then(downloadFrom<Body>(answer, log, url));
       });
}

/// The same as a producer, which has sent the request already. Without a body it fails.
template <class Body>
[[nodiscard]] Publisher<std::shared_ptr<const Body>> downloaded(CorvaneSDK::Network& network,
                                                                const CorvaneSDK::NetRequest& request,
                                                                FailureLog log, const Fetching& fetching) {
  using Shared = std::shared_ptr<const Body>;
  return Publisher<Shared>::promise([&](const Promise<Shared>& promise) {
    const auto resolve = [promise](Download<Body> answer) {
      try {
        if (!answer.body) return promise.fail(*answer.error);
        promise.succeed(std::make_shared<const Body>(*std::move(answer.body)));
      } catch (const std::bad_alloc&) {  // it would end in the host's network
        promise.fail(outOfMemory());
      }
    };
    download<Body>(network, request, std::move(log), resolve, fetching);
  });
}

}  // namespace vellora
