#include "apps/vellora/command/IsoTime.h"

#include <cmath>
#include <ctime>

namespace vellora::command {

std::string isoTime(Date date) {
  const double seconds = std::floor(date.secondsSince1970());
  constexpr double latest = 253402300799;  // the end of the year 9999
  if (!(seconds >= 0 && seconds <= latest)) return std::to_string(date.secondsSince1970());
  const auto time = static_cast<std::time_t>(seconds);
  std::tm parts{};
  ::gmtime_r(&time, &parts);
  char text[32];
  return {text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

}  // namespace vellora::command
