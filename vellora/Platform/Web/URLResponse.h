#pragma once

#include <map>
#include <string>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// What came back besides the body.
struct VELLORA_EXPORT URLResponse {
  std::string url;     ///< the address that answered
  int statusCode = 0;  ///< the HTTP status; 0 when the transport has none
  std::map<std::string, std::string> headers;

  friend bool operator==(const URLResponse&, const URLResponse&) = default;
};

}  // namespace vellora
