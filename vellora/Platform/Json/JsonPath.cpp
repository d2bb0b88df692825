#include "vellora/Platform/Json/JsonPath.h"

#include <algorithm>

#include "vellora/Platform/Text/QuotedText.h"

namespace vellora::json {

namespace {

constexpr std::size_t longestKey = 80;
constexpr std::size_t shownAtEachEnd = 12;

bool isIdentifierCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

bool isPlainIdentifier(std::string_view key) {
  const bool startsWithDigit = !key.empty() && key.front() >= '0' && key.front() <= '9';
  return !key.empty() && key.size() <= longestKey && !startsWithDigit &&
         std::all_of(key.begin(), key.end(), isIdentifierCharacter);
}

void append(std::string& text, const std::variant<std::string, std::size_t>& step) {
  if (const auto* index = std::get_if<std::size_t>(&step)) {
    text.append("[").append(std::to_string(*index)).append("]");
    return;
  }
  const auto& key = *std::get_if<std::string>(&step);
  if (isPlainIdentifier(key)) {
    text.append(".").append(key);
  } else {
    text.append("[").append(quotedText(key, longestKey)).append("]");
  }
}

}  // namespace

std::string Path::text() const {
  std::string text = "$";
  const std::size_t count = steps_.size();
  for (std::size_t depth = 0; depth < count; ++depth) {
    const bool isShown = depth < shownAtEachEnd || depth + shownAtEachEnd >= count;
    if (isShown) {
      append(text, steps_[count - 1 - depth]);
    } else if (depth == shownAtEachEnd) {
      text += "…";
    }
  }
  return text;
}

}  // namespace vellora::json
