#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "vellora/DataServices/Requester.h"
#include "vellora/Host/NetRequest.h"
#include "vellora/Host/Network.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Values/Result.h"

// All requests of the data services are sent from here. A call states in what it differs from the others:
// whether the body or the error counts when both come, and whether the request goes out now or at each
// subscription.

namespace vellora {

/// Which one counts when the host's network gives both a body and an error.
enum class Preferred { body, error };

/// The host's two values as one. Takes no memory.
[[nodiscard]] NetworkAnswer networkAnswer(std::optional<Data> body, std::optional<Error> error,
                                          Preferred preferred);

/// Sends `request` now, on the caller's thread, and hands what comes back to `receive`, on whatever thread
/// the network calls back. A network that breaks its promise and answers twice is passed on twice: `receive`
/// must keep to the first answer, as a promise does.
template <class Receive>
void send(CorvaneSDK::Network& network, const CorvaneSDK::NetRequest& request, Preferred preferred,
          Receive receive) {
  network.sendRequest(request, [preferred, receive = std::move(receive)](
                                   std::optional<Data> body, std::optional<Error> error, const auto&) {
    receive(networkAnswer(std::move(body), std::move(error), preferred));
  });
}

/// The same for a requester, which is told of the request, and of its answer before `receive`.
template <class Receive>
void send(CorvaneSDK::Network& network, const CorvaneSDK::NetRequest& request, Preferred preferred,
          const Fetching& fetching, Receive receive) {
  auto told = fetching.requester
                  ? fetching.requester->sending(request.base().url.absoluteString(), fetching.attempt)
                  : Requester::Answered();
  if (!told) return send(network, request, preferred, std::move(receive));
  send(network, request, preferred,
       [told = std::move(told), receive = std::move(receive)](NetworkAnswer answer) {
         told(answer);
         receive(std::move(answer));
       });
}

/// Sends `request` now, on the caller's thread. Every subscriber gets the one body, or the error, however
/// late it comes.
[[nodiscard]] Publisher<std::optional<Data>> sentNow(CorvaneSDK::Network& network,
                                                     const CorvaneSDK::NetRequest& request,
                                                     Preferred preferred, const Fetching& fetching = {});

/// Sends `request` anew at each subscription, on the subscribing thread. `network` is held weakly; once it is
/// gone, nothing is sent and the subscriber hears nothing.
[[nodiscard]] Publisher<std::optional<Data>> sentAtEachSubscription(
    std::weak_ptr<CorvaneSDK::Network> network, CorvaneSDK::NetRequest request, Preferred preferred,
    Fetching fetching = {});

/// Decodes the body of an answer, then gives back the parser's memory. An absent body is the error that
/// `absentBody` makes:
///
///     sentNow(network, request, Preferred::error, fetching)
///         .tryMap(decodedBody<ThemeResponse, ThemeDataServiceError::noData>)
template <class Response, auto absentBody>
[[nodiscard]] Result<Response> decodedBody(const std::optional<Data>& body) {
  if (!body) return Error(absentBody());
  return json::decodeOnce<Response>(*body);
}

}  // namespace vellora
