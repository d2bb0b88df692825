#include "apps/vellora/cache/EntryText.h"

#include <cmath>
#include <ctime>
#include <sstream>
#include <string_view>
#include <utility>

#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::command {

namespace {

/// Such as "2026-11-21T09:30:00Z"; beyond the years 1970 to 9999 the seconds since 1970.
std::string isoText(Date date) {
  const double seconds = std::floor(date.secondsSince1970());
  constexpr double latest = 253402300799;  // the end of the year 9999
  if (!(seconds >= 0 && seconds <= latest)) return std::to_string(date.secondsSince1970());
  const auto time = static_cast<std::time_t>(seconds);
  std::tm parts{};
  ::gmtime_r(&time, &parts);
  char text[32];
  return {text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

}  // namespace

std::string sizeText(std::optional<std::size_t> bytes) {
  if (!bytes) return "-";
  if (*bytes < 1000) return std::to_string(*bytes) + " B";
  std::ostringstream text;
  text.precision(1);
  const bool large = *bytes >= 1'000'000;
  text << std::fixed << static_cast<double>(*bytes) / (large ? 1e6 : 1e3) << (large ? " MB" : " kB");
  return text.str();
}

std::string ageText(std::optional<double> seconds) {
  if (!seconds || !std::isfinite(*seconds)) return "-";
  constexpr std::pair<double, const char*> units[] = {{86400, " d"}, {3600, " h"}, {60, " min"}};
  for (const auto& [length, unit] : units) {
    if (std::abs(*seconds) >= length)
      return std::to_string(std::llround(std::trunc(*seconds / length))) + unit;
  }
  return std::to_string(std::llround(std::trunc(*seconds))) + " s";
}

std::string contentText(const CacheListing& listing) {
  const bool isTimeStamp = listing.kind == CacheListing::Kind::blob && listing.data->size() == sizeof(double);
  if (isTimeStamp && listing.fetched) return isoText(*listing.fetched);
  return std::string(listing.data->view());
}

std::string asText(const std::string& bytes) {
  if (json::encode(bytes)) return bytes;
  constexpr std::string_view digits = "0123456789abcdef";
  constexpr unsigned char firstBeyondAscii = 0x80;
  std::string text;
  for (const char next : bytes) {
    const auto byte = static_cast<unsigned char>(next);
    if (byte < firstBeyondAscii) {
      text += next;
    } else {
      text.append({'\\', 'x', digits[byte >> 4U], digits[byte & 15U]});
    }
  }
  return text;
}

}  // namespace vellora::command
