#pragma once

#include <map>
#include <string>
#include <vector>

namespace vellora::fuzz {

/// What fuzzing starts from, by target: small pieces of the demo data, as the demo server sends them and as
/// the library caches them, the same at each call.
[[nodiscard]] std::map<std::string, std::vector<std::string>> seeds();

}  // namespace vellora::fuzz
