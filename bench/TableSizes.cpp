#include <cstddef>
#include <map>
#include <memory>
#include <string>

#include "bench/CannedHost.h"
#include "bench/Rows.h"
#include "vellora/Host/CacheTable.h"

namespace vellora::bench {

namespace {

using CorvaneSDK::Meta;

constexpr std::size_t asked = 100;

Meta metaOf(std::size_t row) {
  return {{"cacheEntryType", "sObject"}, {"name", "AnObjectType" + std::to_string(row)}};
}

struct Filled {
  Filled(Medium medium, std::size_t rows) : cache(freshCache(medium, folder)) {
    table = CorvaneSDK::CacheTable::create(
        *cache, CorvaneSDK::Table::emptyWithKey("Rows", CorvaneSDK::Table::MaxAge::sevenDays));
    for (std::size_t row = 0; row < rows; ++row) {
      table->upsert({Data(std::string(150, 'x')), metaOf(row), std::nullopt});
    }
  }

  const tests::TemporaryFolder folder;
  const std::shared_ptr<CorvaneSDK::Cache> cache;
  std::shared_ptr<CorvaneSDK::CacheTable> table;
};

const Filled& filled(Medium medium, std::size_t rows) {
  static std::map<std::pair<Medium, std::size_t>, std::unique_ptr<Filled>> made;
  auto& slot = made[{medium, rows}];
  if (!slot) slot = std::make_unique<Filled>(medium, rows);
  return *slot;
}

/// Reads the first hundred rows of a table of `rows` rows. It is a hundred for any size, so that the
/// processor's caches serve small and large tables alike.
void readRows(benchmark::State& state, Medium medium, std::size_t rows) {
  auto& table = *filled(medium, rows).table;
  for (auto _ : state) {
    for (std::size_t row = 0; row < asked; ++row) {
      const auto found = table.load(CorvaneSDK::Query::exact(CorvaneSDK::metaEquals(metaOf(row))));
      if (found.size() != 1) return state.SkipWithError("the row was not found");
    }
  }
}

}  // namespace

void addTableSizes(Suite& suite) {
  for (const auto medium : {Medium::memory, Medium::sqlite}) {
    const std::string what = "a row by its meta, " + std::string(nameOf(medium));
    const auto time = [&](const std::string& who, std::size_t rows) {
      return suite.time(what, who, [=](auto& state) { readRows(state, medium, rows); });
    };
    suite.compare(what, time("of 10,000", 10'000), time("of 100", 100), Suite::atMost(1.3), asked, asked);
  }
}

}  // namespace vellora::bench
