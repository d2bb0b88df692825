#pragma once

#include <string>
#include <string_view>

namespace vellora::recordsserver {

/// The body of every answer that tells of an error: an array with one object of "message" and "code".
[[nodiscard]] std::string errorBody(std::string_view message, std::string_view code);

}  // namespace vellora::recordsserver
