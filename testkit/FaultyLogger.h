#pragma once

#include <memory>
#include <string_view>

#include "testkit/HostFaults.h"
#include "vellora/Host/Logger.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::testkit {

/// A logger that loses lines as a `HostFaults` says; the others go to another logger.
///
/// Every line is recorded as a call, whether it is lost or not. Its subject is the line's text.
///
/// Ownership: shares the other logger and the faults.
///
/// Threads: safe to use from several threads at once, as far as the other logger is.
///
/// Errors: none of its own.
class VELLORA_EXPORT FaultyLogger final : public CorvaneSDK::Logger {
 public:
  FaultyLogger(std::shared_ptr<CorvaneSDK::Logger> next, std::shared_ptr<HostFaults> faults);
  ~FaultyLogger() override;

  /// Passes the line on, unless it is to be lost.
  void log(std::string_view message, CorvaneSDK::LogLevel level) override;

 private:
  const std::shared_ptr<CorvaneSDK::Logger> next_;
  const std::shared_ptr<HostFaults> faults_;
};

}  // namespace vellora::testkit
