#include "apps/http/Request.h"

#include <algorithm>

#include "vellora/Platform/Text/AsciiCase.h"

namespace vellora::http {

std::optional<std::string> Request::header(std::string_view name) const {
  const auto found = std::find_if(headers.begin(), headers.end(), [name](const auto& header) {
    return equalIgnoringAsciiCase(header.first, name);
  });
  if (found == headers.end()) return std::nullopt;
  return found->second;
}

std::size_t Request::count(std::string_view name) const {
  return static_cast<std::size_t>(std::count_if(headers.begin(), headers.end(), [name](const auto& header) {
    return equalIgnoringAsciiCase(header.first, name);
  }));
}

}  // namespace vellora::http
