#include "vellora/Platform/Text/QuotedText.h"

#include <algorithm>

#include "vellora/Platform/Text/EscapedText.h"
#include "vellora/Platform/Text/Utf8.h"

namespace vellora {

namespace {

std::string hexEscape(char32_t codePoint) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text = "\\u";
  for (const unsigned shift : {12U, 8U, 4U, 0U}) text += digits[(codePoint >> shift) & 0xFU];
  return text;
}

std::string escaped(const Utf8Character& character, std::string_view bytes) {
  switch (character.codePoint) {
    case '"':
      return "\\\"";
    case '\\':
      return "\\\\";
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    default:
      break;
  }
  if (drivesDisplay(character.codePoint)) return hexEscape(character.codePoint);
  if (character.codePoint == Utf8Character::replacement) return "\xEF\xBF\xBD";
  return std::string(bytes);
}

// How many bytes at the front of `text` need no escaping. That is nearly all of most texts, so they are
// copied at once. This is a loop, since log lines are full of such texts: compiled for size, an algorithm of
// the standard library calls its predicate for each byte.
std::size_t plainLength(std::string_view text) {
  std::size_t length = 0;
  for (const char c : text) {
    if (c < ' ' || c > '~' || c == '"' || c == '\\') return length;
    ++length;
  }
  return length;
}

}  // namespace

std::string quotedText(std::string_view text, std::size_t limit) {
  std::string quoted;
  quoted.reserve(std::min(text.size() + 2, limit));
  appendQuotedText(quoted, text, limit);
  return quoted;
}

void appendQuotedText(std::string& out, std::string_view text, std::size_t limit) {
  const std::size_t before = out.size();
  out += '"';
  while (!text.empty()) {
    const std::size_t size = out.size() - before;
    const std::size_t plain = plainLength(text.substr(0, limit));
    if (plain > 0 && size + plain < limit) {
      out += text.substr(0, plain);
      text.remove_prefix(plain);
      continue;
    }
    const Utf8Character character = firstCharacter(text);
    const std::string next = escaped(character, text.substr(0, character.length));
    if (size + next.size() + 1 > limit) {
      out += "…";
      break;
    }
    out += next;
    text.remove_prefix(character.length);
  }
  out += '"';
}

}  // namespace vellora
