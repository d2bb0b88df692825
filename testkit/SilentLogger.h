#pragma once

#include <string_view>

#include "vellora/Host/Logger.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::testkit {

/// A logger that drops every line: for tests that do not look at the log, and for measurements that must not
/// pay for it.
///
///     hostkit::StandardPlatformAPI host(network, cache, std::make_shared<SilentLogger>());
///
/// Take a `RecordingLogger` where the lines count.
///
/// Ownership: keeps nothing of a line.
///
/// Threads: safe to use from several threads at once, without a lock.
///
/// Errors: none; a line costs no memory.
class VELLORA_EXPORT SilentLogger final : public CorvaneSDK::Logger {
 public:
  SilentLogger() = default;
  ~SilentLogger() override;
  SilentLogger(const SilentLogger&) = delete;
  SilentLogger& operator=(const SilentLogger&) = delete;

  void log(std::string_view message, CorvaneSDK::LogLevel level) override;
};

}  // namespace vellora::testkit
