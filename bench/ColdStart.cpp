#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "bench/ColdStartProcess.h"
#include "bench/DemoServer.h"
#include "bench/Rows.h"
#include "bench/Samples.h"

namespace vellora::bench {

namespace {

constexpr std::size_t runs = 10;

Table::Line notMeasured(const std::string& what) {
  return {.what = what, .ours = "", .against = "no list was loaded"};
}

double median(std::vector<double> numbers) {
  std::sort(numbers.begin(), numbers.end());
  return (numbers[(numbers.size() - 1) / 2] + numbers[numbers.size() / 2]) / 2;
}

/// Compares ours with the bare client, as many runs of each, in turns. The ratio is the median of what each
/// run of ours took beside the bare one that follows it: a machine that changes its speed changes it for
/// both. A goal is set only where both keep as much.
Table::Line coldStart(const std::string& what, const std::string& server, Bodies bodies,
                      Bodies bodiesOfBare) {
  std::vector<double> ours;
  std::vector<double> bare;
  std::vector<double> ratios;
  for (std::size_t run = 0; run < runs; ++run) {
    const auto own = ColdStart::measured(Starter::ours, bodies, server);
    const auto other = ColdStart::measured(Starter::bare, bodiesOfBare, server);
    if (!own || !other) return notMeasured(what);
    ours.push_back(own->nanoseconds);
    bare.push_back(other->nanoseconds);
    ratios.push_back(own->nanoseconds / other->nanoseconds);
  }
  return {.what = what,
          .ours = Table::time(median(ours)),
          .against = "curl, simdjson, SQLite by hand, " +
                     std::string(bodiesOfBare == Bodies::kept ? "bodies kept, " : "") +
                     Table::time(median(bare)),
          .ratio = median(ratios),
          .bound = bodies == bodiesOfBare ? std::optional(1.2) : std::nullopt,
          .accepted = bodiesOfBare == Bodies::kept ? std::optional(1.4) : std::nullopt};
}

/// By the median as well: now and then two threads decode the two lists at the same time.
Table::Line peakMemory(const std::string& what, Bodies bodies, std::optional<double> most) {
  std::vector<double> peaks;
  for (std::size_t run = 0; run < runs; ++run) {
    const auto start = ColdStart::measured(Starter::ours, bodies, demoServer().url());
    if (!start) return notMeasured(what);
    peaks.push_back(start->peakBytes);
  }
  const double peak = median(peaks);
  const auto body = static_cast<double>(std::max(sampleObjectList().size(), sampleThemeList().size()));
  return {.what = what,
          .ours = Table::size(peak),
          .against = "the larger body, " + Table::size(body),
          .ratio = peak / body,
          .bound = most};
}

}  // namespace

void addColdStart(Suite& suite) {
  const auto add = [&suite](const std::string& what, const auto& server, Bodies ours, Bodies bare) {
    suite.count([=] { return coldStart(what, server().url(), ours, bare); });
  };
  add("cold start, no bodies kept", demoServer, Bodies::notKept, Bodies::notKept);
  add("cold start", demoServer, Bodies::kept, Bodies::kept);
  add("cold start", demoServer, Bodies::kept, Bodies::notKept);
  add("cold start, packed bodies", packingServer, Bodies::kept, Bodies::notKept);
  suite.count([] { return peakMemory("peak memory of a cold start, no bodies kept", Bodies::notKept, 6); });
  suite.count([] { return peakMemory("peak memory of a cold start", Bodies::kept, {}); });
}

}  // namespace vellora::bench
