#pragma once

#include <string>

#include "hostkit/network/CurlNetworkError.h"

namespace vellora::hostkit {

/// The error of a request that failed in the way `kind`, in words: what happened, with whom, what to do.
/// `where` is host, port and path, such as "records.example:443/theme".
[[nodiscard]] CurlNetworkError transferError(CurlNetworkError::Kind kind, const std::string& where);

/// The error of a request that curl gave up with the CURLcode `curlCode`. `reason` is what curl says about
/// it; it may quote what the server sent, so it has to be redacted.
[[nodiscard]] CurlNetworkError transferError(int curlCode, const std::string& reason,
                                             const std::string& where);

}  // namespace vellora::hostkit
