#pragma once

#include <string_view>

#include "vellora/Host/LogLevel.h"
#include "vellora/Platform/Values/Export.h"

namespace CorvaneSDK {

/// Takes the library's diagnostic lines. Implemented by the host.
///
/// What you must guarantee: write one line per call, return quickly, and never call back into the library.
///
/// Ownership: the library holds you by `std::shared_ptr`; `message` is valid during the call only.
///
/// Threads: called from several threads at once.
class VELLORA_EXPORT Logger {
 public:
  virtual ~Logger() = default;

  /// Writes one line. `message` is UTF-8 and complete; it may hold text that the server or the caller sent,
  /// even a token that the server sends back: the library does not know it, so cleaning is yours.
  virtual void log(std::string_view message, LogLevel level) = 0;

 protected:
  Logger() = default;
  Logger(const Logger&) = default;
  Logger& operator=(const Logger&) = default;
};

}  // namespace CorvaneSDK
