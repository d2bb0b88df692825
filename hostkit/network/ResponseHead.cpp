#include "hostkit/network/ResponseHead.h"

#include <algorithm>
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

/// What stands behind the first blank; nothing when there is none.
std::string_view behindBlank(std::string_view text) {
  return text.substr(std::min(text.find(' '), text.size()));
}

}  // namespace

bool ResponseHead::takeLine(std::string_view line) {
  const bool mayBegin = size_ == 0 || (isComplete_ && isInterim_);
  size_ += line.size();
  if (size_ > most) return false;
  const bool isTrailer = isComplete_ && !isInterim_;
  if (isTrailer) return true;
  if (line == "\r\n" || line == "\n") isComplete_ = true;
  if (mayBegin && line.starts_with("HTTP/")) {
    begin(line);
  } else {
    takeHeader(line);
  }
  return true;
}

void ResponseHead::begin(std::string_view statusLine) {
  headers_.clear();
  isComplete_ = false;
  isFramed_ = !statusLine.starts_with("HTTP/1") && !statusLine.starts_with("HTTP/0");
  const std::string_view status = trimmed(behindBlank(statusLine));
  isInterim_ = status.starts_with('1');
  reasonPhrase_ = trimmed(behindBlank(status));
}

void ResponseHead::takeHeader(std::string_view line) {
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos) return;
  const std::string_view value = trimmed(line.substr(colon + 1));
  const auto [header, isNew] = headers_.try_emplace(asciiLowerCase(trimmed(line.substr(0, colon))), value);
  if (!isNew) header->second.append(", ").append(value);
}

bool ResponseHead::tellsEnd() const {
  if (isFramed_ || value("content-length") != nullptr) return true;
  const auto* coding = value("transfer-encoding");
  return coding != nullptr && asciiLowerCase(*coding).ends_with("chunked");
}

const std::string* ResponseHead::value(const std::string& name) const {
  const auto found = headers_.find(name);
  return found == headers_.end() ? nullptr : &found->second;
}

}  // namespace vellora::hostkit
