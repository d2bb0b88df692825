#pragma once

#include <simdjson.h>

#include <string>
#include <string_view>

// simdjson converts every number while it parses: it refuses a text with one that fits neither 64 bits nor a
// double, and rounds what is written with a fraction or an exponent. These two look at the digits themselves.
// They take longer than parsing does, so they are asked only where a number was refused, or rounded where an
// integer is wanted.

namespace vellora::json {

/// `text` with each number replaced by a 0 and blanks, so that everything else stays where it is. A text is
/// JSON if and only if this one is. What only begins like a number, such as `1.` or `01`, stays too.
[[nodiscard]] std::string withoutNumbers(std::string_view text);

/// Puts the numbers of `text` into `tree`, which was parsed from that text or from `withoutNumbers(text)`.
/// Each number whose value is an integer of 64 bits becomes one, however it is written. Any other becomes the
/// nearest double, beyond the range of these an infinite one.
void settleNumbers(simdjson::dom::document& tree, std::string_view text);

}  // namespace vellora::json
