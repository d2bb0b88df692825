#include "apps/http/Target.h"

#include <algorithm>
#include <cstddef>

namespace vellora::http {
namespace {

std::optional<unsigned> hexDigit(char c) {
  if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
  if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A') + 10;
  if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a') + 10;
  return std::nullopt;
}

}  // namespace

Target Target::parse(std::string_view target) {
  const auto mark = target.find('?');
  Target parsed{std::string(target.substr(0, mark)), {}};
  auto rest = mark == std::string_view::npos ? std::string_view() : target.substr(mark + 1);
  while (!rest.empty()) {
    const auto item = rest.substr(0, rest.find('&'));
    rest.remove_prefix(std::min(rest.size(), item.size() + 1));
    const auto equals = item.find('=');
    if (equals != std::string_view::npos)
      parsed.items.emplace_back(item.substr(0, equals), item.substr(equals + 1));
  }
  return parsed;
}

std::optional<std::string> Target::encodedItem(std::string_view name) const {
  const auto found =
      std::find_if(items.begin(), items.end(), [name](const auto& item) { return item.first == name; });
  if (found == items.end()) return std::nullopt;
  return found->second;
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

}  // namespace vellora::http
