#pragma once

#include <optional>
#include <string>

#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// The request that an error of a data service came from.
///
/// Ownership: a plain value.
struct VELLORA_EXPORT FailedRequest {
  std::string url;  ///< relative, as it was handed to the host's network
  std::optional<Error>
      reason;  ///< what network or decoder said; absent when there was neither body nor error
};

}  // namespace vellora
