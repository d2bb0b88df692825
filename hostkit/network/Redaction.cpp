#include "hostkit/network/Redaction.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <iterator>

#include "vellora/Platform/Text/AsciiCase.h"

namespace vellora::hostkit {

namespace {

constexpr std::size_t tellingLength = 6;
constexpr std::string_view substitute = "[token]";

/// How many characters from the front of `text` stand in a row somewhere in `secret`; both in lower case.
std::size_t sharedLength(std::string_view text, std::string_view secret) {
  std::size_t longest = 0;
  for (auto from = secret.begin(); from != secret.end(); ++from) {
    const auto [end, unused] = std::mismatch(text.begin(), text.end(), from, secret.end());
    longest = std::max(longest, static_cast<std::size_t>(std::distance(text.begin(), end)));
  }
  return longest;
}

/// `text` with the substitute for each run of characters that it shares with `token`, if that is long enough.
std::string withoutRunsOf(std::string_view token, std::string_view text) {
  const std::size_t telling = std::min(token.size(), tellingLength);
  const std::string lowerText = asciiLowerCase(text);
  const std::string lowerToken = asciiLowerCase(token);
  std::string clean;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t shared = sharedLength(std::string_view(lowerText).substr(at), lowerToken);
    const bool tells = shared > 0 && shared >= telling;
    clean += tells ? substitute : text.substr(at, 1);
    at += tells ? shared : 1;
  }
  return clean;
}

}  // namespace

std::string redacted(std::string_view text, std::string_view token) {
  std::string clean = withoutRunsOf(token, text);
  std::replace_if(
      clean.begin(), clean.end(), [](unsigned char c) { return std::iscntrl(c) != 0; }, ' ');
  return clean;
}

}  // namespace vellora::hostkit
