#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "hostkit/network/CurlNetworkError.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::hostkit {

/// How one request of a `CurlNetwork` ended, for a host that wants to tell later which request failed and
/// why. It holds neither token nor query.
///
///     options.observer = [](const RequestOutcome& outcome) {
///       if (outcome.error) metrics.countFailure(outcome.path, outcome.error->kind);
///     };
///
/// Ownership: a plain value; the observer may keep a copy.
///
/// Units: bytes, seconds.
struct VELLORA_EXPORT RequestOutcome {
  std::string path;                       ///< of the request's URL, without its query
  int statusCode = 0;                     ///< of a success or of an `errorStatus`; else 0. It is 304 where
                                          ///< the completion gets a body that was kept
  std::optional<CurlNetworkError> error;  ///< absent when the completion gets a body
  std::size_t bytes = 0;                  ///< of the body, decompressed; 0 with an error
  double seconds = 0;                     ///< from `sendRequest` to the end
  std::size_t receivedBytes = 0;          ///< of the body as it came over the wire; 0 with an error
};

}  // namespace vellora::hostkit
