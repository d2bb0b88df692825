#include "hostkit/network/ResponseHead.h"

#include <cctype>
#include <cstddef>

#include "vellora/Platform/Text/AsciiCase.h"

namespace vellora::hostkit {

namespace {

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) text.remove_prefix(1);
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.remove_suffix(1);
  return text;
}

}  // namespace

void ResponseHead::takeLine(std::string_view line) {
  if (line == "\r\n" || line == "\n") isComplete_ = true;
  if (line.starts_with("HTTP/")) {
    *this = {};
    return;
  }
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos) return;
  const std::string_view value = trimmed(line.substr(colon + 1));
  const auto [header, isNew] = headers_.try_emplace(asciiLowerCase(trimmed(line.substr(0, colon))), value);
  if (!isNew) header->second.append(", ").append(value);
}

const std::string* ResponseHead::value(const std::string& name) const {
  const auto found = headers_.find(name);
  return found == headers_.end() ? nullptr : &found->second;
}

}  // namespace vellora::hostkit
