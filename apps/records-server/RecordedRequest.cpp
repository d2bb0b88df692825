#include "apps/records-server/RecordedRequest.h"

#include <algorithm>

#include "apps/records-server/AsciiCase.h"

namespace vellora::recordsserver {

std::optional<std::string> RecordedRequest::header(std::string_view name) const {
  const auto found = std::find_if(headers.begin(), headers.end(), [name](const auto& header) {
    return equalIgnoringCase(header.first, name);
  });
  if (found == headers.end()) return std::nullopt;
  return found->second;
}

}  // namespace vellora::recordsserver
