#include "apps/vellora/command/NoNetwork.h"

#include <optional>

#include "vellora/Platform/Values/Error.h"

namespace vellora::command {

void NoNetwork::sendRequest(const CorvaneSDK::NetRequest& /*request*/, Completion completion) {
  completion(std::nullopt, Error(NotOnline()), std::nullopt);
}

}  // namespace vellora::command
