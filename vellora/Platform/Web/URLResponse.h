#pragma once

#include <map>
#include <string>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// What came back besides the body. The library looks at none of it; it is for networks that wrap others.
///
/// Ownership: a plain value.
struct VELLORA_EXPORT URLResponse {
  /// The address that answered: after a redirect not the one that was asked.
  std::string url;

  /// The HTTP status, such as 200; 0 when the transport has none.
  int statusCode = 0;

  /// Values by header name.
  std::map<std::string, std::string> headers;

  friend bool operator==(const URLResponse&, const URLResponse&) = default;
};

}  // namespace vellora
