#include "hostkit/log/LogText.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace vellora::hostkit {

namespace {

constexpr std::string_view hexDigits = "0123456789abcdef";

void appendByte(std::string& text, unsigned char byte) {
  text.append("\\x").push_back(hexDigits[byte >> 4]);
  text.push_back(hexDigits[byte & 0xf]);
}

void appendCodePoint(std::string& text, std::uint32_t codePoint) {
  text.append("\\u");
  for (int shift = 12; shift >= 0; shift -= 4) text.push_back(hexDigits[codePoint >> shift & 0xf]);
}

void appendControl(std::string& text, unsigned char byte) {
  switch (byte) {
    case '\n':
      text.append("\\n");
      break;
    case '\r':
      text.append("\\r");
      break;
    case '\t':
      text.append("\\t");
      break;
    default:
      appendByte(text, byte);
  }
}

struct CodePoint {
  std::uint32_t value = 0;
  std::size_t length = 0;  ///< in bytes; 0 when the bytes are not UTF-8
};

/// The character at the front of `text`, which does not begin with an ASCII one.
CodePoint decode(std::string_view text) {
  struct Form {
    unsigned char mask, lead;
    std::uint32_t least;  // what fits a shorter form is not UTF-8
  };
  constexpr std::array<Form, 3> forms{{{0xe0, 0xc0, 0x80}, {0xf0, 0xe0, 0x800}, {0xf8, 0xf0, 0x10000}}};
  const auto first = static_cast<unsigned char>(text[0]);
  for (std::size_t form = 0; form < forms.size(); ++form) {
    if ((first & forms[form].mask) != forms[form].lead) continue;
    const std::size_t length = form + 2;
    if (text.size() < length) return {};
    std::uint32_t value = first & static_cast<unsigned char>(~forms[form].mask);
    for (const char next : text.substr(1, length - 1)) {
      if ((next & 0xc0) != 0x80) return {};
      value = value << 6 | (static_cast<unsigned char>(next) & 0x3fU);
    }
    const bool surrogate = value >= 0xd800 && value <= 0xdfff;
    return value < forms[form].least || surrogate || value > 0x10ffff ? CodePoint{}
                                                                      : CodePoint{value, length};
  }
  return {};
}

/// Characters that end a line or turn the direction of the text that follows, as well as the C1 controls.
bool drivesDisplay(std::uint32_t codePoint) {
  return codePoint < 0xa0 || codePoint == 0x2028 || codePoint == 0x2029 ||
         (codePoint >= 0x202a && codePoint <= 0x202e) || (codePoint >= 0x2066 && codePoint <= 0x2069);
}

}  // namespace

std::string escapedLogText(std::string_view message) {
  std::string text;
  text.reserve(message.size());
  while (!message.empty()) {
    const auto first = static_cast<unsigned char>(message[0]);
    const CodePoint character = first < 0x80 ? CodePoint{first, 1} : decode(message);
    if (character.length == 0) {
      appendByte(text, first);
    } else if (character.value < 0x20 || character.value == 0x7f) {
      appendControl(text, first);
    } else if (character.value >= 0x80 && drivesDisplay(character.value)) {
      appendCodePoint(text, character.value);
    } else {
      text.append(message.substr(0, character.length));
    }
    message.remove_prefix(character.length == 0 ? 1 : character.length);
  }
  return text;
}

}  // namespace vellora::hostkit
