#include "hostkit/network/RetryAfter.h"

#include <curl/curl.h>

#include <algorithm>
#include <charconv>
#include <cstdint>

namespace vellora::hostkit {

namespace {

bool isNumber(const std::string& text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

/// A number that does not fit is as good as never.
double secondsIn(const std::string& digits) {
  std::uint32_t seconds = 0;
  const auto end = digits.data() + digits.size();
  if (std::from_chars(digits.data(), end, seconds).ec != std::errc()) return UINT32_MAX;
  return seconds;
}

}  // namespace

std::optional<std::chrono::duration<double>> retryAfter(const std::string& value, Date now) {
  using Seconds = std::chrono::duration<double>;
  if (isNumber(value)) return Seconds(secondsIn(value));
  const auto moment = curl_getdate(value.c_str(), nullptr);
  if (moment < 0) return std::nullopt;
  return Seconds(std::max(Date::since1970(static_cast<double>(moment)).secondsSince(now), 0.0));
}

}  // namespace vellora::hostkit
