#include "hostkit/cache/ArchiveBytes.h"

#include <charconv>
#include <string>
#include <string_view>
#include <system_error>

#include "hostkit/cache/rows/HexDigits.h"
#include "vellora/Platform/Text/Utf8.h"

namespace vellora::hostkit {

namespace {

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    const auto character = firstCharacter(text);
    if (character.codePoint == Utf8Character::replacement && character.length == 1) return false;
    text.remove_prefix(character.length);
  }
  return true;
}

std::optional<Data> fromHex(const std::string& hex) {
  if (hex.size() % 2 != 0) return std::nullopt;
  std::string bytes;
  for (const char* digit = hex.data(); digit != hex.data() + hex.size(); digit += 2) {
    unsigned char byte = 0;
    const auto [end, error] = std::from_chars(digit, digit + 2, byte, 16);
    if (error != std::errc() || end != digit + 2) return std::nullopt;
    bytes += static_cast<char>(byte);
  }
  return Data(bytes);
}

}  // namespace

archiveFormat::Bytes writtenBytes(const Data& data) {
  if (isUtf8(data.view())) return {std::string(data.view()), std::nullopt};
  return {std::nullopt, hexDigits(data.view())};
}

std::optional<Data> readBytes(const archiveFormat::Bytes& bytes) {
  if (bytes.text.has_value() == bytes.hex.has_value()) return std::nullopt;
  return bytes.text ? Data(*bytes.text) : fromHex(*bytes.hex);
}

std::optional<std::string> hexOfKey(std::string_view key) {
  return isUtf8(key) ? std::nullopt : std::optional(hexDigits(key));
}

std::optional<std::string> readKey(const std::string& text, const std::optional<std::string>& hex) {
  if (!hex) return text;
  const auto bytes = fromHex(*hex);
  return bytes ? std::optional(std::string(bytes->view())) : std::nullopt;
}

}  // namespace vellora::hostkit
