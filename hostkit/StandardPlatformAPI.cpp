#include "hostkit/StandardPlatformAPI.h"

#include <utility>

namespace vellora::hostkit {

StandardPlatformAPI::StandardPlatformAPI(std::shared_ptr<CorvaneSDK::Network> network,
                                         std::shared_ptr<CorvaneSDK::Cache> cache,
                                         std::shared_ptr<CorvaneSDK::Logger> logger)
    : network_(std::move(network)), cache_(std::move(cache)), logger_(std::move(logger)) {}

}  // namespace vellora::hostkit
