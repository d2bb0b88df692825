#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bench/DemoServer.h"
#include "bench/ReadyHost.h"
#include "bench/Rows.h"
#include "bench/Samples.h"
#include "tests/support/TemporaryFolder.h"
#include "vellora/Models/CompactLayoutCacheEntry.h"
#include "vellora/Models/ObjectLayoutInfoCacheEntry.h"

namespace vellora::bench {

namespace {

constexpr std::size_t mostTypes = 200;

struct SearchLayouts {
  using Entry = ObjectLayoutInfoCacheEntry;
  static constexpr const char* name = "search layout";
  static constexpr const char* keyPrefix = "OPS_Layout_";
  template <class Completion>
  static void lookUp(VelloraService& service, const std::vector<std::string>& names, Completion completion) {
    service.objectLayoutInfoForApiNames(names, std::move(completion));
  }
};

struct CompactLayouts {
  using Entry = CompactLayoutCacheEntry;
  static constexpr const char* name = "compact layout";
  static constexpr const char* keyPrefix = "OPS_CompactLayout_";
  template <class Completion>
  static void lookUp(VelloraService& service, const std::vector<std::string>& names, Completion completion) {
    service.objectCompactLayoutInfoForApiNames(names, std::move(completion));
  }
};

/// A host whose cache holds the layouts of `mostTypes` types, and the façade on it.
struct Warm {
  explicit Warm(bool inMemory)
      : host(readyHost(demoServer().url(),
                       inMemory ? std::nullopt : std::optional(folder.file("cache.sqlite")))),
        service(startedService(host)) {
    fill<SearchLayouts>();
    fill<CompactLayouts>();
  }

  const tests::TemporaryFolder folder;
  const std::shared_ptr<hostkit::StandardPlatformAPI> host;
  const std::unique_ptr<VelloraService> service;

 private:
  template <class Kind>
  void fill() const {
    const auto names = sampleTypeNames(mostTypes);
    std::promise<void> answered;
    Kind::lookUp(*service, names, [&](const auto&) { answered.set_value(); });
    answered.get_future().wait();
    // The service saves the layouts in their order, after the answer: wait for the last one.
    while (!host->cache()->load(Kind::keyPrefix + names.back())) std::this_thread::yield();
  }
};

template <class Kind>
void lookUp(benchmark::State& state, const Warm& warm, std::size_t types) {
  const auto names = sampleTypeNames(types);
  for (auto _ : state) {
    std::size_t found = 0;
    Kind::lookUp(*warm.service, names, [&](const auto& infos) { found = infos ? infos->size() : 0; });
    if (found != types) return state.SkipWithError("was not answered at once from the cache");
  }
}

template <class Kind>
void loadAndDecode(benchmark::State& state, const Warm& warm, std::size_t types) {
  const auto names = sampleTypeNames(types);
  const auto cache = warm.host->cache();
  for (auto _ : state) {
    std::vector<typename Kind::Entry> entries;
    entries.reserve(types);
    for (const auto& name : names) {
      const auto data = cache->load(Kind::keyPrefix + name);
      entries.push_back(json::decode<typename Kind::Entry>(*data).value());
    }
    benchmark::DoNotOptimize(entries);
  }
}

template <class Kind>
void addLayouts(Suite& suite, const std::function<const Warm&()>& warm, const std::string& medium,
                Suite::Goal goal) {
  for (const std::size_t types : {std::size_t{1}, std::size_t{20}, mostTypes}) {
    const std::string what =
        std::to_string(types) + " cached " + Kind::name + (types == 1 ? "" : "s") + ", " + medium;
    suite.compare(what, suite.time(what, "ours", [=](auto& state) { lookUp<Kind>(state, warm(), types); }),
                  suite.time(what, "bare loads and decodes",
                             [=](auto& state) { loadAndDecode<Kind>(state, warm(), types); }),
                  goal);
  }
}

}  // namespace

void addCachedLayouts(Suite& suite) {
  const auto inMemory = []() -> const Warm& {
    static const Warm warm(true);
    return warm;
  };
  const auto onSQLite = []() -> const Warm& {
    static const Warm warm(false);
    return warm;
  };
  addLayouts<SearchLayouts>(suite, inMemory, "memory", Suite::atMost(1.3, 1.65));
  addLayouts<SearchLayouts>(suite, onSQLite, "SQLite", Suite::atMost(1.3));
  addLayouts<CompactLayouts>(suite, inMemory, "memory", Suite::atMost(1.3, 1.5));
  addLayouts<CompactLayouts>(suite, onSQLite, "SQLite", Suite::atMost(1.3));
}

}  // namespace vellora::bench
