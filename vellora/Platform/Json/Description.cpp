#include "vellora/Platform/Json/Description.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>

#include "vellora/Platform/Text/QuotedText.h"

namespace vellora::detail {

namespace {

// Beyond these years a point in time has no calendar form of four digits.
constexpr double secondsIn1970Of0001 = -62135596800.0;
constexpr double secondsIn1970Of10000 = 253402300800.0;

std::string shortestForm(double value) {
  std::array<char, 32> digits;  // the shortest form of a double takes at most 24
  return {digits.data(), std::to_chars(digits.begin(), digits.end(), value).ptr};
}

std::string calendarForm(double secondsSince1970) {
  using namespace std::chrono;
  const sys_seconds second(seconds(static_cast<std::int64_t>(std::floor(secondsSince1970))));
  const auto day = floor<days>(second);
  const year_month_day date(day);
  const hh_mm_ss time(second - day);
  std::array<char, 64> text;
  const int length =
      std::snprintf(text.data(), text.size(), "%04d-%02u-%02u %02d:%02d:%02d +0000",
                    static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                    static_cast<unsigned>(date.day()), static_cast<int>(time.hours().count()),
                    static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()));
  return {text.data(), static_cast<std::size_t>(length)};
}

}  // namespace

void appendDescription(std::string& out, double value) {
  const std::string form = shortestForm(value);
  out += form;
  const bool looksIntegral = form.find_first_not_of("-0123456789") == std::string::npos;
  if (looksIntegral) out += ".0";
}

void appendDescription(std::string& out, Date value) {
  const double seconds = value.secondsSince1970();
  if (seconds >= secondsIn1970Of0001 && seconds < secondsIn1970Of10000) {
    out += calendarForm(seconds);
  } else {
    out += shortestForm(seconds) + " seconds since 1970";
  }
}

void appendDescription(std::string& out, std::string_view value) {
  appendQuotedText(out, value);
}

}  // namespace vellora::detail
