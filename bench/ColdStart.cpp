#include <simdjson.h>

#include <memory>
#include <string>

#include "bench/BareClient.h"
#include "bench/DemoServer.h"
#include "bench/ReadyHost.h"
#include "bench/Rows.h"
#include "tests/support/TemporaryFolder.h"

namespace vellora::bench {

namespace {

// On both sides, host and file are made before the clock runs.

void startOurs(benchmark::State& state) {
  const std::string server = demoServer().url();
  for (auto _ : state) {
    state.PauseTiming();
    const tests::TemporaryFolder folder;
    const auto host = readyHost(server, folder.file("cache.sqlite"));
    state.ResumeTiming();
    auto service = startedService(host);
    const bool isLoaded = waitUntilLoaded(*service);
    state.PauseTiming();
    service.reset();
    if (!isLoaded) state.SkipWithError("was not loaded");
    state.ResumeTiming();
  }
}

void startBare(benchmark::State& state) {
  const std::string server = demoServer().url();
  for (auto _ : state) {
    state.PauseTiming();
    const tests::TemporaryFolder folder;
    auto client = std::make_unique<BareClient>(server, folder.file("bare.sqlite"));
    state.ResumeTiming();
    const bool isLoaded = client->load();
    state.PauseTiming();
    client.reset();
    if (!isLoaded) state.SkipWithError("was not loaded");
    state.ResumeTiming();
  }
}

}  // namespace

void addColdStart(Suite& suite) {
  const std::string what = "cold start";
  const auto ours = suite.time(what, "ours", startOurs, Suite::Clock::wall);
  const auto bare = suite.time(what, "curl, simdjson, SQLite by hand", startBare, Suite::Clock::wall);
  suite.compare(what, ours, bare, Suite::atMost(1.3));
}

}  // namespace vellora::bench
