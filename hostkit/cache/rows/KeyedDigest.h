#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vellora::hostkit {

/// A key that nobody can guess, from the system's random numbers. Empty when the system gives none.
[[nodiscard]] std::string randomKey();

/// How many bytes a key has, and how many a digest.
inline constexpr std::size_t keySize = 32;

/// HMAC-SHA-256 of `text` under `key`: whoever lacks the key cannot tell whether a guess at the text is
/// right. Empty when there is no memory for it.
[[nodiscard]] std::string keyedDigest(std::string_view key, std::string_view text);

}  // namespace vellora::hostkit
