#pragma once

#include <functional>
#include <string>
#include <vector>

namespace vellora::command {

/// What is wrong with the text that an option was given; empty when nothing is. None of these repeats the
/// text: it may be a secret that went astray.
using TextCheck = std::function<std::string(const std::string& text)>;

/// Admits what can be read as a number.
[[nodiscard]] TextCheck aNumber();

/// Admits the numbers of ports, and 0 for a free one.
[[nodiscard]] TextCheck aPort();

/// A whole number above 0.
[[nodiscard]] TextCheck aCount();

/// Admits these words; names them, and the nearest, to whoever gave another.
[[nodiscard]] TextCheck oneOf(std::vector<std::string> words);

}  // namespace vellora::command
