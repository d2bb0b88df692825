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
                        Preferred preferred) {
  return Publisher<Body>::promise([&](const Promise<Body>& promise) {
    send(network, request, preferred,
         [promise](NetworkAnswer answer) { promise.resolve(std::move(answer)); });
  });
}

Publisher<Body> sentAtEachSubscription(std::weak_ptr<CorvaneSDK::Network> network,
                                       CorvaneSDK::NetRequest request, Preferred preferred) {
  return Publisher<Body>::deferred([network = std::move(network), request = std::move(request), preferred] {
    const auto alive = network.lock();
    return alive ? sentNow(*alive, request, preferred) : silence<Body>();
  });
}

}  // namespace vellora
