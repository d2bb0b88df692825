#include <map>
#include <memory>
#include <string>

#include "bench/CannedHost.h"
#include "bench/Rows.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Models/ThemeItem.h"

namespace vellora::bench {

namespace {

using CorvaneSDK::CacheTable;

constexpr std::size_t types = 5'000;

/// Looks up names of which the cache has no rows yet, only the lists: each round begins with a fresh cache.
void lookUpNewNames(benchmark::State& state, Medium medium, std::size_t count) {
  for (auto _ : state) {
    state.PauseTiming();
    auto host = std::make_unique<CannedHost>(medium, types);
    const auto names = host->names(count);
    state.ResumeTiming();
    const bool found = host->lookUpNames(names) == count;
    state.PauseTiming();
    host.reset();
    if (!found) state.SkipWithError("a name was not found");
    state.ResumeTiming();
  }
}

Data listIn(CorvaneSDK::Cache& cache, const std::string& table, const std::string& kind) {
  return CacheTable::open(cache, table)
      ->load(CorvaneSDK::Query::exact(CorvaneSDK::metaEquals({{"cacheEntryType", kind}})))
      .at(0);
}

/// Decodes both lists: what the lookup of a new name would cost if decoded lists were not remembered.
void decodeBothLists(benchmark::State& state) {
  const CannedHost host(Medium::memory, types);
  const Data objects = listIn(host.cache(), "OPS_SObjectsCacheTable", "sObjects");
  const Data themes = listIn(host.cache(), "OPS_ThemesCacheTable", "themes");
  for (auto _ : state) {
    benchmark::DoNotOptimize(json::decode<std::vector<SObject>>(objects));
    benchmark::DoNotOptimize(json::decode<std::vector<ThemeItem>>(themes));
  }
}

}  // namespace

void addFirstLookups(Suite& suite) {
  const auto anew =
      suite.time("1 new name of 5,000", "both lists decoded anew", decodeBothLists, Suite::Clock::wall);
  for (const auto medium : {Medium::memory, Medium::sqlite}) {
    const std::string suffix = ", " + std::string(nameOf(medium));
    std::map<std::size_t, Suite::Timing> ours;
    for (const std::size_t count : {10U, 100U, 1'000U}) {
      ours[count] = suite.time(
          std::to_string(count) + " new names of 5,000" + suffix, "ours",
          [=](auto& state) { lookUpNewNames(state, medium, count); }, Suite::Clock::wall);
    }
    suite.compare("per new name, of 10 at once" + suffix, ours[10], anew, Suite::reported(), 10);
    suite.compare("per new name, of 100 at once" + suffix, ours[100], anew, Suite::reported(), 100);
    suite.compare("per new name, of 1,000 at once" + suffix, ours[1'000], anew, Suite::atLeast(20), 1'000);
    suite.compare("1,000 new names" + suffix, ours[1'000], {ours[100].name, "100 new names"},
                  Suite::atMost(12));
  }
}

}  // namespace vellora::bench
