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
///
/// Errors: a line that cannot be written is lost. Throw nothing.
class VELLORA_EXPORT Logger {
 public:
  virtual ~Logger() = default;

  /// Writes one line. `message` is complete and has no line end of its own. The library's own words in it are
  /// UTF-8. Ids and names stand in it as the caller gave them, errors as your network worded them: any bytes,
  /// line breaks and control characters among them, so escape what your log cannot take.
  ///
  /// The library never sees your token. A server that sends it back, in a label perhaps, has it in a line.
  virtual void log(std::string_view message, LogLevel level) = 0;

 protected:
  Logger() = default;
  Logger(const Logger&) = default;
  Logger& operator=(const Logger&) = default;
};

}  // namespace CorvaneSDK
