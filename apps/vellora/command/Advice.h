#pragma once

#include <string>

#include "vellora/Catalog/Failure.h"

namespace vellora::command {

/// Why something could not be asked (`reasonOf`), and what to do about it where the reason does not say so
/// itself: on one line, such as
///
///     401 for /services/data/v50.0/theme: Session expired; the token is missing, …: give a valid one with …
[[nodiscard]] std::string reasonWithAdvice(const Failure& failure);

}  // namespace vellora::command
