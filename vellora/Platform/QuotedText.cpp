#include "vellora/Platform/QuotedText.h"

#include <array>

namespace vellora {

namespace {

constexpr char32_t replacementCharacter = 0xFFFD;

struct Character {
  char32_t codePoint;
  std::size_t length;  // in bytes
};

constexpr bool isContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

// How many bytes a character that begins with `lead` has; 0 when none begins so.
std::size_t lengthFromLead(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  return 0;
}

bool isScalarOfLength(char32_t codePoint, std::size_t length) {
  constexpr std::array<char32_t, 5> smallest = {0, 0, 0x80, 0x800, 0x10000};
  const bool isSurrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
  return codePoint >= smallest[length] && codePoint <= 0x10FFFF && !isSurrogate;
}

// The first character of `text`, which is not empty. A byte that begins none is a U+FFFD of its own.
Character firstCharacter(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text.front());
  const std::size_t length = lengthFromLead(lead);
  if (length == 1) return {lead, 1};
  if (length == 0 || length > text.size()) return {replacementCharacter, 1};
  char32_t codePoint = lead & (0xFFU >> (length + 1));
  for (const char byte : text.substr(1, length - 1)) {
    if (!isContinuation(byte)) return {replacementCharacter, 1};
    codePoint = (codePoint << 6U) | (static_cast<unsigned char>(byte) & 0x3FU);
  }
  if (!isScalarOfLength(codePoint, length)) return {replacementCharacter, 1};
  return {codePoint, length};
}

// Controls, line separators, and the marks that reverse how a line is displayed.
bool breaksLine(char32_t codePoint) {
  return codePoint < 0x20 || (codePoint >= 0x7F && codePoint < 0xA0) ||
         (codePoint >= 0x2028 && codePoint <= 0x202E) || (codePoint >= 0x2066 && codePoint <= 0x2069);
}

std::string hexEscape(char32_t codePoint) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text = "\\u";
  for (const unsigned shift : {12U, 8U, 4U, 0U}) text += digits[(codePoint >> shift) & 0xFU];
  return text;
}

std::string escaped(const Character& character, std::string_view bytes) {
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
  if (breaksLine(character.codePoint)) return hexEscape(character.codePoint);
  if (character.codePoint == replacementCharacter) return "\xEF\xBF\xBD";
  return std::string(bytes);
}

}  // namespace

std::string quotedText(std::string_view text, std::size_t limit) {
  std::string quoted = "\"";
  while (!text.empty()) {
    const Character character = firstCharacter(text);
    const std::string next = escaped(character, text.substr(0, character.length));
    if (quoted.size() + next.size() + 1 > limit) {
      quoted += "…";
      break;
    }
    quoted += next;
    text.remove_prefix(character.length);
  }
  return quoted += '"';
}

}  // namespace vellora
