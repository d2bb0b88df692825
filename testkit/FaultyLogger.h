#pragma once

#include <memory>
#include <string_view>

#include "testkit/HostFaults.h"
#include "vellora/Host/Logger.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::testkit {

/// A logger that loses lines as a `HostFaults` says; the others go to another logger.
///
/// Ownership: shares both. Threads: as safe as the other logger.
class VELLORA_EXPORT FaultyLogger final : public CorvaneSDK::Logger {
 public:
  FaultyLogger(std::shared_ptr<CorvaneSDK::Logger> next, std::shared_ptr<HostFaults> faults);
  ~FaultyLogger() override;

  void log(std::string_view message, CorvaneSDK::LogLevel level) override;

 private:
  const std::shared_ptr<CorvaneSDK::Logger> next_;
  const std::shared_ptr<HostFaults> faults_;
};

}  // namespace vellora::testkit
