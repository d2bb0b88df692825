#pragma once

#include <string>
#include <vector>

#include "testkit/HostCall.h"

namespace vellora::faults {

/// What a call is called in the table of outcomes, such as "GET themes", "read prefix 001" or "log".
[[nodiscard]] std::string nameOf(const testkit::HostCall& call);

/// The names of calls of one run in their order; from the second on with their number, such as "GET themes
/// #2".
[[nodiscard]] std::vector<std::string> namesOf(const std::vector<testkit::HostCall>& calls);

}  // namespace vellora::faults
