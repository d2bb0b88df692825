#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "conformance/Guarantee.h"
#include "vellora/Host/Logger.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::conformance {

/// What you tell the suite of your logger. Each test makes one of these, and wants to find no lines.
///
/// Ownership: the suite owns the host of a test, and shares the logger for as long.
///
/// Threads: used on the thread of the tests; the logger itself is called from several.
class VELLORA_EXPORT LoggerHost {
 public:
  virtual ~LoggerHost() = default;

  /// The logger, set to write lines of every level; the same at each call.
  [[nodiscard]] virtual std::shared_ptr<CorvaneSDK::Logger> logger() = 0;

  /// What has been written so far, one text for each line, with whatever you put around a message. Writes out
  /// first what your logger holds back.
  [[nodiscard]] virtual std::vector<std::string> lines() = 0;

 protected:
  LoggerHost() = default;
  LoggerHost(const LoggerHost&) = default;
  LoggerHost& operator=(const LoggerHost&) = default;
};

/// What the contract demands of `Logger`.
[[nodiscard]] VELLORA_EXPORT std::span<const Guarantee<LoggerHost>> loggerGuarantees();

/// Adds to the program's tests one for each of these guarantees, called `suite.Guarantee`. Call it before
/// RUN_ALL_TESTS; `make` is called once in each test.
VELLORA_EXPORT void registerLoggerConformance(const std::string& suite,
                                              const std::function<std::unique_ptr<LoggerHost>()>& make);

}  // namespace vellora::conformance
