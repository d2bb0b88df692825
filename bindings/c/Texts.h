#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "bindings/c/vellora.h"
#include "vellora/Catalog/Keys.h"

namespace vellora::capi {

/// Bytes of a host or a server that are longer than this are none: their length is wrong.
inline constexpr std::size_t longestBytes = std::size_t{1} << 30U;

/// What a `vellora_text` shows; valid as long as what it shows. Throws a `Refusal` for bytes without a length
/// that can be.
[[nodiscard]] std::string_view viewOf(const vellora_text& text, const char* what);

/// Whether the text is absent; throws as `viewOf`.
[[nodiscard]] bool isAbsent(const vellora_text& text, const char* what);

/// A text of UTF-8 that ends with a zero; `fallback` for null. Throws a `Refusal` for other bytes.
[[nodiscard]] std::string textOr(const char* text, const char* fallback, const char* what);
[[nodiscard]] std::optional<std::string> optionalText(const char* text, const char* what);

/// The same of a text with a length; empty for an absent one.
[[nodiscard]] std::string utf8Of(const vellora_text& text, const char* what);

/// Seconds; `fallback` for 0, none for less. Throws a `Refusal` of what is no number.
[[nodiscard]] double secondsOr(double seconds, double fallback, const char* what);

/// The keys of a question. Throws a `Refusal` where they are not there.
[[nodiscard]] Keys keysOf(const vellora_text* keys, std::size_t count);

/// How C sees a text. Valid as long as the text, which must not change.
[[nodiscard]] inline vellora_text shown(std::string_view text) {
  return {text.data() != nullptr ? text.data() : "", text.size()};
}
[[nodiscard]] inline vellora_text shown(const std::optional<std::string>& text) {
  return text ? shown(std::string_view(*text)) : vellora_text{nullptr, 0};
}
[[nodiscard]] inline vellora_text shown(const std::string& text) {
  return shown(std::string_view(text));
}

}  // namespace vellora::capi
