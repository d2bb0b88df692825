#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// Why JSON text is not the value that was asked for. It is the error of `json::decode`, and what data
/// services carry in their `other`.
///
///     const auto list = json::decode<ThemeResponse>(body);
///     if (!list) log(list.error().localizedDescription());  // missing key "icons" at $.themeItems[3]
///
/// A path begins with `$`, the whole text; `.name` is a member, `[3]` an element, counted from 0.
///
/// Ownership: a plain value.
///
/// Threads: immutable, hence safe to read from several threads.
class VELLORA_EXPORT DecodingError {
 public:
  enum class Kind {
    missingKey,    ///< an object lacks a required member
    typeMismatch,  ///< a value is of another type than the one expected; null included
    invalidJson,   ///< the text as a whole is not JSON that can be trusted
  };

  /// `missing key "labelPlural" at $.sobjects[3]`; `path` is that of the object that lacks `key`.
  [[nodiscard]] static DecodingError missingKey(std::string_view key, const std::string& path);

  /// `expected a boolean at $.sobjects[3].createable`; `expected` is a noun with its article, `path` that of
  /// the value.
  [[nodiscard]] static DecodingError typeMismatch(std::string_view expected, const std::string& path);

  /// `not valid JSON at byte 812: …`; the first byte of the text is byte 0, a byte order mark counts.
  [[nodiscard]] static DecodingError invalidJson(std::size_t byte, std::string_view reason);

  /// `not valid JSON: …`, for a text that cannot be read for no reason of any one byte, such as its size.
  [[nodiscard]] static DecodingError invalidJson(std::string_view reason);

  /// Which of the three it is; for decisions. The description is for people.
  [[nodiscard]] Kind kind() const noexcept { return kind_; }

  /// One line of bounded length that names kind and place, safe to log whatever the text held: of the text
  /// itself it quotes nothing but keys.
  [[nodiscard]] const std::string& localizedDescription() const noexcept { return description_; }

  friend bool operator==(const DecodingError&, const DecodingError&) = default;

 private:
  DecodingError(Kind kind, std::string description);

  Kind kind_;
  std::string description_;
};

}  // namespace vellora
