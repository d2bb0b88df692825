#pragma once

#include <string>

#include "vellora/Catalog/Failure.h"

namespace vellora::command {

/// Why something could not be asked, in the words of the command: what the network said, which names the
/// request, or that an answer of the server cannot be used, which one, and why.
[[nodiscard]] std::string reasonOf(const Failure& failure);

}  // namespace vellora::command
