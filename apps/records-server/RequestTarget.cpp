#include "apps/records-server/RequestTarget.h"

#include <cstddef>

namespace vellora::recordsserver {
namespace {

std::optional<unsigned> hexDigit(char c) {
  if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
  if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A') + 10;
  if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a') + 10;
  return std::nullopt;
}

std::optional<std::string> percentDecoded(std::string_view text) {
  std::string decoded;
  decoded.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      decoded += text[i];
      continue;
    }
    if (text.size() - i < 3) return std::nullopt;
    const auto high = hexDigit(text[i + 1]);
    const auto low = hexDigit(text[i + 2]);
    if (!high || !low) return std::nullopt;
    decoded += static_cast<char>(*high * 16 + *low);
    i += 2;
  }
  return decoded;
}

}  // namespace

std::optional<RequestTarget> RequestTarget::parse(std::string_view target) {
  const auto mark = target.find('?');
  RequestTarget parsed{std::string(target.substr(0, mark)), std::nullopt};
  auto rest = mark == std::string_view::npos ? std::string_view() : target.substr(mark + 1);
  while (!rest.empty()) {
    const auto item = rest.substr(0, rest.find('&'));
    rest.remove_prefix(item.size() < rest.size() ? item.size() + 1 : item.size());
    if (!item.starts_with("q=")) continue;
    parsed.q = percentDecoded(item.substr(2));
    return parsed.q ? std::optional(parsed) : std::nullopt;
  }
  return parsed;
}

}  // namespace vellora::recordsserver
