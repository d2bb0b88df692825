#include "vellora/Platform/Text/Utf8.h"

#include <algorithm>
#include <array>

namespace vellora {

namespace {

constexpr bool isContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

// How many bytes a character that begins with `lead` has; 0 when no character begins with it.
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

/// Whether it stands for a byte that belongs to none; U+FFFD itself takes three.
bool isNoCharacter(const Utf8Character& character) {
  return character.codePoint == Utf8Character::replacement && character.length == 1;
}

}  // namespace

Utf8Character firstCharacter(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text.front());
  const std::size_t length = lengthFromLead(lead);
  if (length == 1) return {lead, 1};
  if (length == 0 || length > text.size()) return {Utf8Character::replacement, 1};
  char32_t codePoint = lead & (0xFFU >> (length + 1));
  for (const char byte : text.substr(1, length - 1)) {
    if (!isContinuation(byte)) return {Utf8Character::replacement, 1};
    codePoint = (codePoint << 6U) | (static_cast<unsigned char>(byte) & 0x3FU);
  }
  if (!isScalarOfLength(codePoint, length)) return {Utf8Character::replacement, 1};
  return {codePoint, length};
}

bool isUtf8(std::string_view text) {
  const auto isAscii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
  if (std::all_of(text.begin(), text.end(), isAscii)) return true;
  while (!text.empty()) {
    const auto character = firstCharacter(text);
    if (isNoCharacter(character)) return false;
    text.remove_prefix(character.length);
  }
  return true;
}

std::string utf8From(std::string_view text) {
  std::string whole;
  whole.reserve(text.size());
  for (; !text.empty();) {
    const auto character = firstCharacter(text);
    whole += isNoCharacter(character) ? std::string_view("\xEF\xBF\xBD") : text.substr(0, character.length);
    text.remove_prefix(character.length);
  }
  return whole;
}

}  // namespace vellora
