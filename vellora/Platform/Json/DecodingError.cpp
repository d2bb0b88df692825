#include "vellora/Platform/Json/DecodingError.h"

#include <utility>

#include "vellora/Platform/Text/QuotedText.h"

namespace vellora {

DecodingError::DecodingError(Kind kind, std::string description)
    : kind_(kind), description_(std::move(description)) {}

DecodingError DecodingError::missingKey(std::string_view key, const std::string& path) {
  return {Kind::missingKey, "missing key " + quotedText(key) + " at " + path};
}

DecodingError DecodingError::typeMismatch(std::string_view expected, const std::string& path) {
  return {Kind::typeMismatch, "expected " + std::string(expected) + " at " + path};
}

DecodingError DecodingError::invalidJson(std::size_t byte, std::string_view reason) {
  return {Kind::invalidJson, "not valid JSON at byte " + std::to_string(byte) + ": " + std::string(reason)};
}

DecodingError DecodingError::invalidJson(std::string_view reason) {
  return {Kind::invalidJson, "not valid JSON: " + std::string(reason)};
}

}  // namespace vellora
