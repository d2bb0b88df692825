#include "bench/ColdStartProcess.h"

#include <malloc.h>

#include <chrono>
#include <cstddef>
#include <fstream>
#include <iostream>
#include <limits>
#include <sstream>

#include "apps/records-server/RecordsServer.h"
#include "bench/BareClient.h"
#include "bench/Rows.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

namespace vellora::bench {

namespace {

using Clock = std::chrono::steady_clock;

/// How long a cold start took; no value when it loaded nothing.
using Taken = std::optional<std::chrono::duration<double, std::nano>>;

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

/// The server of the small cold start that goes before the measured one.
std::string smallServer() {
  static const auto server = recordsserver::RecordsServer::start(recordsserver::DataSet::generated(10));
  return server.value()->url();
}

/// A figure of /proc/self/status, in bytes.
std::size_t memoryFigure(const std::string& name) {
  std::ifstream status("/proc/self/status");
  std::string word;
  while (status >> word) {
    std::size_t kibibytes = 0;
    if (word == name + ":" && status >> kibibytes) return kibibytes * 1024;
  }
  return 0;
}

constexpr const char* own = "ours";
constexpr const char* keepBodies = "keep-bodies";

}  // namespace

std::optional<ColdStart> ColdStart::measured(Starter starter, Bodies bodies, const std::string& server) {
  const auto ended = tests::ChildProcess::run(
      "/proc/self/exe",
      {measureColdStartFlag, starter == Starter::ours ? own : "bare",
       bodies == Bodies::kept ? keepBodies : "keep-no-bodies", smallServer(), server},
      {});
  ColdStart start;
  std::istringstream figures(ended.out);
  if (ended.exitCode != 0 || !(figures >> start.nanoseconds >> start.peakBytes)) return std::nullopt;
  return start;
}

int measureColdStart(const std::vector<std::string>& arguments) {
  if (arguments.size() != 4) return 2;
  const Bodies bodies = arguments[1] == keepBodies ? Bodies::kept : Bodies::notKept;
  const auto start = [&](const std::string& server) {
    return arguments[0] == own ? startOurs(server, bodies) : startBare(server, bodies);
  };
  if (!start(arguments[2])) return 1;
  malloc_trim(0);
  // The peak begins anew at what is resident now.
  if (!(std::ofstream("/proc/self/clear_refs") << "5" << std::flush)) return 1;
  const std::size_t before = memoryFigure("VmHWM");
  if (before == 0) return 1;
  const Taken taken = start(arguments[3]);
  if (!taken) return 1;
  std::cout.precision(std::numeric_limits<double>::max_digits10);
  std::cout << taken->count() << ' ' << memoryFigure("VmHWM") - before << '\n';
  return 0;
}

}  // namespace vellora::bench
