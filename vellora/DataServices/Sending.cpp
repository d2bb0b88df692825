#include "vellora/DataServices/Sending.h"

#include "vellora/DataServices/Silence.h"
#include "vellora/Platform/Publishers/Promise.h"

namespace vellora {

using Body = std::optional<Data>;

NetworkAnswer networkAnswer(Body body, std::optional<Error> error, Preferred preferred) {
  const bool isBodyTaken = body && preferred == Preferred::body;
  if (error && !isBodyTaken) return NetworkAnswer(*std::move(error));
  return NetworkAnswer(std::move(body));
}

Publisher<Body> sentNow(CorvaneSDK::Network& network, const CorvaneSDK::NetRequest& request,
                        Preferred preferred, const Fetching& fetching) {
  return Publisher<Body>::promise([&](const Promise<Body>& promise) {
    send(network, request, preferred, fetching,
         [promise](NetworkAnswer answer) { promise.resolve(std::move(answer)); });
  });
}

Publisher<Body> sentAtEachSubscription(std::weak_ptr<CorvaneSDK::Network> network,
                                       CorvaneSDK::NetRequest request, Preferred preferred,
                                       Fetching fetching) {
  return Publisher<Body>::deferred([network = std::move(network), request = std::move(request), preferred,
                                    fetching = std::move(fetching)] {
    const auto alive = network.lock();
    return alive ? sentNow(*alive, request, preferred, fetching) : silence<Body>();
  });
}

}  // namespace vellora
