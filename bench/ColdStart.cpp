#include <algorithm>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "bench/BareClient.h"
#include "bench/DemoServer.h"
#include "bench/ReadyHost.h"
#include "bench/Rows.h"
#include "tests/support/TemporaryFolder.h"

namespace vellora::bench {

namespace {

using Clock = std::chrono::steady_clock;

/// How long a cold start took; no value when it loaded nothing.
using Taken = std::optional<Clock::duration>;

constexpr std::size_t runs = 10;

// On both sides, host and file are made before the clock runs, and closed after it has stopped.

Taken startOurs(const std::string& server, Bodies bodies) {
  const tests::TemporaryFolder folder;
  const auto host = readyHost(server, folder.file("cache.sqlite"), bodies);
  const auto begun = Clock::now();
  const auto service = startedService(host);
  const bool isLoaded = waitUntilLoaded(*service);
  const auto ended = Clock::now();
  return isLoaded ? Taken(ended - begun) : std::nullopt;
}

Taken startBare(const std::string& server, Bodies bodies) {
  const tests::TemporaryFolder folder;
  BareClient client(server, folder.file("bare.sqlite"), bodies);
  const auto begun = Clock::now();
  const bool isLoaded = client.load();
  const auto ended = Clock::now();
  return isLoaded ? Taken(ended - begun) : std::nullopt;
}

/// In nanoseconds; no value when one of the runs loaded nothing.
std::optional<double> median(std::vector<Taken> taken) {
  std::sort(taken.begin(), taken.end());  // no value comes first
  if (!taken.front()) return std::nullopt;
  const std::chrono::duration<double, std::nano> sum =
      *taken[(taken.size() - 1) / 2] + *taken[taken.size() / 2];
  return sum.count() / 2;
}

/// Compares ours with the bare client by the medians of as many runs of each, in turns. The first of each
/// does not count: it makes what the process keeps for the next. A goal is set only where both keep as much.
Table::Line coldStart(const std::string& what, const std::string& server, Bodies bodies,
                      Bodies bodiesOfBare) {
  std::vector<Taken> ours;
  std::vector<Taken> bare;
  for (std::size_t run = 0; run <= runs; ++run) {
    const Taken own = startOurs(server, bodies);
    const Taken other = startBare(server, bodiesOfBare);
    if (run == 0) continue;
    ours.push_back(own);
    bare.push_back(other);
  }
  const auto own = median(ours);
  const auto other = median(bare);
  return {.what = what,
          .ours = Table::time(own.value_or(0)),
          .against = "curl, simdjson, SQLite by hand, " +
                     std::string(bodiesOfBare == Bodies::kept ? "bodies kept, " : "") +
                     Table::time(other.value_or(0)),
          .ratio = own && other ? std::optional(*own / *other) : std::nullopt,
          .bound = bodies == bodiesOfBare ? std::optional(1.2) : std::nullopt,
          .accepted = bodiesOfBare == Bodies::kept ? std::optional(1.4) : std::nullopt};
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
}

}  // namespace vellora::bench
