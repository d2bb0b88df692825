#pragma once

#include <string>

#include "hostkit/network/CurlNetworkError.h"

namespace vellora::hostkit {

/// The error of a request that failed in the way `kind`, in words: what happened, with whom, what to do.
/// `where` is host, port and path, such as "records.example:443/theme".
[[nodiscard]] CurlNetworkError transferError(CurlNetworkError::Kind kind, const std::string& where);

/// The error of a request whose answer has a head, or trailers, without end.
[[nodiscard]] CurlNetworkError tooLargeHead(const std::string& where);

/// The error of a request for `path` whose answer has a status that is no success. `words` is what the server
/// says about it, cleaned; it may be empty.
[[nodiscard]] CurlNetworkError statusError(int status, const std::string& path, const std::string& words);

/// The error of a request that curl gave up with the CURLcode `curlCode`. `reason` is what curl says about
/// it; it may quote what the server sent, so it has to be redacted.
[[nodiscard]] CurlNetworkError transferError(int curlCode, const std::string& reason,
                                             const std::string& where);

}  // namespace vellora::hostkit
