#include "bench/ColdStartMemory.h"

#include <malloc.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>
#include <utility>

#include "apps/records-server/RecordsServer.h"
#include "bench/DemoServer.h"
#include "bench/ReadyHost.h"
#include "bench/Rows.h"
#include "bench/Samples.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

namespace vellora::bench {

namespace {

constexpr const char* keepBodies = "keep-bodies";
constexpr const char* keepNoBodies = "keep-no-bodies";

bool coldStart(const std::string& server, Bodies bodies) {
  const tests::TemporaryFolder folder;
  const auto host = readyHost(server, folder.file("cache.sqlite"), bodies);
  const auto service = startedService(host);
  return waitUntilLoaded(*service);
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

}  // namespace

int measureColdStart(const std::string& small, const std::string& server, const std::string& keeping) {
  const Bodies bodies = keeping == keepBodies ? Bodies::kept : Bodies::notKept;
  if (!coldStart(small, bodies)) return 1;
  malloc_trim(0);
  std::ofstream("/proc/self/clear_refs") << "5";  // the peak begins anew at what is resident now
  const std::size_t before = memoryFigure("VmHWM");
  if (!coldStart(server, bodies)) return 1;
  std::cout << memoryFigure("VmHWM") - before << '\n';
  return 0;
}

void addColdStartMemory(Suite& suite) {
  const auto add = [&suite](const std::string& what, const char* keeping, std::optional<double> most) {
    suite.count([=] {
      auto small = recordsserver::RecordsServer::start(recordsserver::DataSet::generated(10));
      const auto ended = tests::ChildProcess::run(
          "/proc/self/exe", {measureColdStartFlag, small.value()->url(), demoServer().url(), keeping}, {});
      const double peak = ended.exitCode == 0 ? std::stod(ended.out) : 0;
      const auto body = static_cast<double>(std::max(sampleObjectList().size(), sampleThemeList().size()));
      return Table::Line{.what = what,
                         .ours = Table::size(peak),
                         .against = "the larger body, " + Table::size(body),
                         .ratio = peak > 0 ? std::optional(peak / body) : std::nullopt,
                         .bound = most};
    });
  };
  add("peak memory of a cold start, no bodies kept", keepNoBodies, 6);
  add("peak memory of a cold start", keepBodies, {});
}

}  // namespace vellora::bench
