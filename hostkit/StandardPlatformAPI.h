#pragma once

#include <memory>

#include "vellora/Host/PlatformAPI.h"

namespace vellora::hostkit {

/// A `PlatformAPI` made of the three facilities that it is given, each of any kind: the ready-made ones or
/// your own. Null stays null: the host then grants none of that kind.
///
/// Ownership: shares each facility; the library takes its own handles, so this object may go once the library
/// is constructed. Threads: immutable, hence safe to read from several threads.
class StandardPlatformAPI final : public CorvaneSDK::PlatformAPI {
 public:
  StandardPlatformAPI(std::shared_ptr<CorvaneSDK::Network> network, std::shared_ptr<CorvaneSDK::Cache> cache,
                      std::shared_ptr<CorvaneSDK::Logger> logger);

  [[nodiscard]] std::shared_ptr<CorvaneSDK::Network> network() override { return network_; }
  [[nodiscard]] std::shared_ptr<CorvaneSDK::Cache> cache() override { return cache_; }
  [[nodiscard]] std::shared_ptr<CorvaneSDK::Logger> logger() override { return logger_; }

 private:
  const std::shared_ptr<CorvaneSDK::Network> network_;
  const std::shared_ptr<CorvaneSDK::Cache> cache_;
  const std::shared_ptr<CorvaneSDK::Logger> logger_;
};

}  // namespace vellora::hostkit
