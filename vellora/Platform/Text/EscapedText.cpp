#include "vellora/Platform/Text/EscapedText.h"

#include <cstddef>

#include "vellora/Platform/Text/Utf8.h"

namespace vellora {

namespace {

void appendHexDigits(std::string& out, char32_t value, unsigned count) {
  constexpr std::string_view digits = "0123456789abcdef";
  for (unsigned left = count; left > 0; --left) out += digits[value >> (4 * (left - 1)) & 0xFU];
}

void appendByte(std::string& out, char byte) {
  appendHexDigits(out += "\\x", static_cast<unsigned char>(byte), 2);
}

void appendEscape(std::string& out, char32_t codePoint) {
  switch (codePoint) {
    case '\n':
      out += "\\n";
      break;
    case '\r':
      out += "\\r";
      break;
    case '\t':
      out += "\\t";
      break;
    default:
      if (codePoint < 0x80) return appendByte(out, static_cast<char>(codePoint));
      appendHexDigits(out += "\\u", codePoint, 4);
  }
}

bool isNoCharacter(const Utf8Character& character) {
  return character.codePoint == Utf8Character::replacement && character.length == 1;
}

}  // namespace

std::string escapedText(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) {
    const Utf8Character character = firstCharacter(text);
    if (isNoCharacter(character)) {
      appendByte(out, text.front());
    } else if (drivesDisplay(character.codePoint)) {
      appendEscape(out, character.codePoint);
    } else {
      out += text.substr(0, character.length);
    }
    text.remove_prefix(character.length);
  }
  return out;
}

std::string escapedJson(std::string_view json) {
  std::string out;
  out.reserve(json.size());
  while (!json.empty()) {
    const Utf8Character character = firstCharacter(json);
    if (character.codePoint >= 0x7F && drivesDisplay(character.codePoint)) {
      appendHexDigits(out += "\\u", character.codePoint, 4);
    } else {
      out += json.substr(0, character.length);
    }
    json.remove_prefix(character.length);
  }
  return out;
}

}  // namespace vellora
