#include "bench/fleet/Day.h"

#include <numeric>

#include "bench/fleet/Usage.h"

namespace vellora::fleet {

namespace {

constexpr std::size_t secondsOfTheDay = static_cast<std::size_t>(secondsOfDay);
constexpr std::size_t secondsOfMinute = 60;

}  // namespace

Day::Day()
    : requests_(secondsOfTheDay),
      refused_(secondsOfTheDay),
      bytes_(secondsOfTheDay),
      processor_(secondsOfTheDay) {}

void Day::add(double second, const Cost& cost, double weight, bool isRefused) {
  if (second < 0 || second >= secondsOfDay) return;
  const auto at = static_cast<std::size_t>(second);
  requests_[at] += weight;
  if (isRefused) refused_[at] += weight;
  bytes_[at] += weight * (cost.requestBytes + cost.answerBytes);
  processor_[at] += weight * cost.processor;
}

double sum(const Day::Seconds& seconds) {
  return std::accumulate(seconds.begin(), seconds.end(), 0.0);
}

Day::Seconds byMinute(const Day::Seconds& seconds) {
  Day::Seconds minutes(seconds.size() / secondsOfMinute);
  for (std::size_t i = 0; i < minutes.size() * secondsOfMinute; ++i)
    minutes[i / secondsOfMinute] += seconds[i] / static_cast<double>(secondsOfMinute);
  return minutes;
}

}  // namespace vellora::fleet
