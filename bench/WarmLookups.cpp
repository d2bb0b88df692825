#include <algorithm>
#include <atomic>
#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "bench/CannedHost.h"
#include "bench/Rows.h"
#include "bench/Samples.h"
#include "vellora/DataServices/LogLine.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Models/ThemeItem.h"
#include "vellora/Platform/Json/Description.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"

namespace vellora::bench {

namespace {

using CorvaneSDK::CacheTable;
using CorvaneSDK::Meta;

constexpr std::size_t mostIds = 1'000;

/// Does the table reads, decodings and log lines of a lookup of ids, and nothing else: no queues, no
/// publishers. Its lines are put together by what puts the library's together: what is compared is what a
/// lookup takes around this work, and lines that were dearer here would pass for it.
class BareLookup {
 public:
  explicit BareLookup(const CannedHost& host)
      : cache_(host.cache()),
        logger_(host.logger()),
        types_(CacheTable::open(cache_, "OPS_SObjectsCacheTable")),
        themes_(CacheTable::open(cache_, "OPS_ThemesCacheTable")) {}

  using Types = std::map<std::string, std::optional<SObject>>;

  std::size_t run(const std::vector<std::string>& ids) const {
    const Types found = types(ids);
    describe(found);
    return found.size();
  }

  /// The first half: the types of ids, and whether the lists are there.
  [[nodiscard]] Types types(const std::vector<std::string>& ids) const {
    readState(*themes_, "themes", "ops.theme.fetch.timestamp");
    readState(*types_, "sObjects", "ops.sobject.fetch.timestamp");
    log(text, {" ids.count: ", std::to_string(ids.size())});
    Types found;
    for (const auto& id : ids) found.emplace(id, typeOf(id));
    return found;
  }

  /// The second half: the themes of these types, and what is said of both.
  void describe(const Types& found) const {
    std::map<std::string, std::optional<ThemeItem>> items;
    for (const auto& [id, type] : found) {
      log("sObjectsForIds(_:): id: ", {id, ", (type: ", type->name, ", instance: nil)"});
      items.emplace(type->name, themeOf(type->name));
    }
    for (const auto& [name, item] : items) log("themes(for:): name: ", {name});
    std::string line;
    for (const auto& [id, type] : found) {
      line.assign(text).append(" typeSObject: ");
      describeTo(line, type);
      log(line.append(", instanceSObject: nil"));
      line = "createObjectPresentationInfo(for:sObjectInstance:themes:) typeTheme: ";
      describeTo(line, items.at(type->name));
      log(line.append(", instanceTheme: nil"));
    }
    log(text);
  }

 private:
  static constexpr std::string_view text = "objectPresentationInfoForIdsOnceLoaded(_:completion:)";

  void log(std::string_view beginning, LineParts parts = {}) const {
    logLine(logger_, CorvaneSDK::LogLevel::info, beginning, parts);
  }

  void readState(CacheTable& table, const std::string& kind, const std::string& timeKey) const {
    benchmark::DoNotOptimize(
        table.fetch(CorvaneSDK::Query::exact(CorvaneSDK::metaEquals({{"cacheEntryType", kind}}))));
    benchmark::DoNotOptimize(cache_.load(timeKey));
  }

  template <class T>
  std::optional<T> read(CacheTable& table, Meta meta, std::string_view operation, LineParts found) const {
    const auto rows = table.load(CorvaneSDK::Query::exact(CorvaneSDK::metaEquals(std::move(meta))));
    if (rows.empty()) return std::nullopt;
    log(operation, found);
    return json::decode<T>(rows.front()).value();
  }

  std::optional<std::string> nameOfPrefix(const std::string& prefix) const {
    return read<std::string>(*types_, {{"cacheEntryType", "keyPrefix"}, {"keyPrefix", prefix}},
                             "cachedName(for:)", {", keyPrefix: ", prefix, ", was retrieved from cache"});
  }

  std::optional<SObject> typeOf(const std::string& id) const {
    const std::string prefix = id.substr(0, 3);
    const auto name = nameOfPrefix(prefix);
    log("sObjectForName(_:), name: ", {*name});
    auto type = read<SObject>(*types_, {{"cacheEntryType", "sObject"}, {"name", *name}},
                              "cachedSObject(for:)", {", name: ", *name, ", was retrieved from cache"});
    benchmark::DoNotOptimize(nameOfPrefix(prefix));  // whether it is a list view's
    return type;
  }

  std::optional<ThemeItem> themeOf(const std::string& name) const {
    return read<ThemeItem>(*themes_, {{"cacheEntryType", "theme"}, {"name", name}}, "cachedTheme(for:)",
                           {", name: ", name, ", was retrieved from cache"});
  }

  CorvaneSDK::Cache& cache_;
  LineCounter& logger_;
  const std::shared_ptr<CacheTable> types_;
  const std::shared_ptr<CacheTable> themes_;
};

/// The façade, after a first lookup of everything that is looked up later.
const CannedHost& warmHost(Medium medium) {
  const auto warmed = [](Medium kind) {
    auto host = std::make_unique<CannedHost>(kind, sampleTypes);
    static_cast<void>(host->lookUpIds(host->ids(mostIds)));
    return host;
  };
  static const auto inMemory = warmed(Medium::memory);
  static const auto onSQLite = warmed(Medium::sqlite);
  return medium == Medium::memory ? *inMemory : *onSQLite;
}

/// How many bytes `lookUp` logs. It waits until the log is quiet, because the façade logs its last line on
/// another thread after it has answered.
template <class LookUp>
std::size_t bytesLogged(LineCounter& logger, LookUp lookUp) {
  const auto bytesOnceQuiet = [&logger] {
    for (std::size_t seen = logger.bytes();; seen = logger.bytes()) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
      if (logger.bytes() == seen) return seen;
    }
  };
  const std::size_t before = bytesOnceQuiet();
  lookUp();
  return bytesOnceQuiet() - before;
}

/// Whether the bare lookup logs as many bytes as ours. The answer is found once, so that all repetitions
/// agree. It is tried up to five times, because a line may come later than the pause that counts as quiet.
bool logsWhatOursLogs(Medium medium, std::size_t count) {
  static std::map<std::pair<Medium, std::size_t>, bool> known;
  const auto [entry, isNew] = known.emplace(std::pair(medium, count), false);
  if (!isNew) return entry->second;
  const CannedHost& host = warmHost(medium);
  const auto ids = host.ids(count);
  const BareLookup bare(host);
  for (int round = 0; round < 5 && !entry->second; ++round) {
    entry->second = bytesLogged(host.logger(), [&] { static_cast<void>(bare.run(ids)); }) ==
                    bytesLogged(host.logger(), [&] { static_cast<void>(host.lookUpIds(ids)); });
  }
  return entry->second;
}

void lookUp(benchmark::State& state, Medium medium, std::size_t count) {
  const CannedHost& host = warmHost(medium);
  const auto ids = host.ids(count);
  std::size_t fewest = count;
  runRested(state, [&] { fewest = std::min(fewest, host.lookUpIds(ids)); });
  if (fewest != count) state.SkipWithError("an id was not found");
}

void doBare(benchmark::State& state, Medium medium, std::size_t count) {
  const CannedHost& host = warmHost(medium);
  const auto ids = host.ids(count);
  const BareLookup bare(host);
  if (!logsWhatOursLogs(medium, count)) return state.SkipWithError("does not log what ours logs");
  runRested(state, [&] { benchmark::DoNotOptimize(bare.run(ids)); });
}

/// The threads that a lookup of ids has its work on: the queue of the types, then that of the themes. Who
/// asks waits for both.
class Hops {
 public:
  template <class OnTypes, class OnThemes>
  void run(const OnTypes& onTypes, const OnThemes& onThemes) {
    done_ = false;
    types_.async([] {});
    types_.async([&] {
      onTypes();
      themes_.async([] {});
      themes_.async([&] {
        onThemes();
        done_ = true;
        done_.notify_one();
      });
    });
    done_.wait(false);
  }

 private:
  std::atomic<bool> done_ = false;
  SerialDispatchQueue types_{"types"};
  SerialDispatchQueue themes_{"themes"};
};

void hop(benchmark::State& state) {
  Hops hops;
  runRested(state, [&] { hops.run([] {}, [] {}); });
}

/// The least that a lookup can take: its work, each half on the thread that it belongs to.
void doBareOnItsThreads(benchmark::State& state, Medium medium, std::size_t count) {
  const CannedHost& host = warmHost(medium);
  const auto ids = host.ids(count);
  const BareLookup bare(host);
  if (!logsWhatOursLogs(medium, count)) return state.SkipWithError("does not log what ours logs");
  Hops hops;
  runRested(state, [&] {
    BareLookup::Types found;
    hops.run([&] { found = bare.types(ids); }, [&] { bare.describe(found); });
    benchmark::DoNotOptimize(found);
  });
}

void lookUpOnThreads(benchmark::State& state, Medium medium, std::size_t threads) {
  constexpr std::size_t lookups = 64;
  const CannedHost& host = warmHost(medium);
  const auto ids = host.ids(10);
  for (auto _ : state) {
    std::vector<std::jthread> askers;
    for (std::size_t asker = 0; asker < threads; ++asker) {
      askers.emplace_back([&] {
        for (std::size_t done = 0; done < lookups / threads; ++done) {
          benchmark::DoNotOptimize(host.lookUpIds(ids));
        }
      });
    }
  }
}

/// Compares the number of answers of the thread that got the fewest with an even share.
Table::Line leastServed(Medium medium) {
  constexpr std::size_t threads = 8;
  const CannedHost& host = warmHost(medium);
  const auto ids = host.ids(10);
  std::vector<std::size_t> answers(threads);
  {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
    std::vector<std::jthread> askers;
    for (auto& own : answers) {
      askers.emplace_back([&host, &ids, &own, end] {
        while (std::chrono::steady_clock::now() < end) own += host.lookUpIds(ids) > 0 ? 1 : 0;
      });
    }
  }
  std::size_t all = 0;
  for (const auto own : answers) all += own;
  const auto least = *std::min_element(answers.begin(), answers.end());
  const double share = static_cast<double>(all) / threads;
  return {.what = "least served of 8 threads, " + std::string(nameOf(medium)),
          .ours = std::to_string(least) + " lookups",
          .against = "an even share, " + std::to_string(all / threads),
          .ratio = static_cast<double>(least) / share,
          .bound = 0.5,
          .isLowerBound = true};
}

/// Beside the bare work, on one thread or on those that it belongs to. The hops weigh, in memory and, of few
/// ids, on SQLite. What they take differs between machines, and which thread a system wakes first changes
/// from run to run.
Suite::Goal goalOf(Medium medium, std::size_t count) {
  const double bound = count == 1 ? 2 : count == mostIds ? 1.3 : 1.5;
  if (medium == Medium::sqlite) return count <= 10 ? Suite::atMost(bound, bound + 0.5) : Suite::atMost(bound);
  if (count == mostIds) return Suite::atMost(bound, 2);
  return Suite::atMost(bound, count < 100 ? bound + 2 : bound + 1);
}

/// Returns the timing of ours.
Suite::Timing addCount(Suite& suite, Medium medium, std::size_t count, const std::string& what) {
  const auto timing = [&](const std::string& who, auto body) {
    return suite.time(
        what, who, [=](auto& state) { body(state, medium, count); }, Suite::Clock::rested);
  };
  const auto ours = timing("ours", lookUp);
  // Of fewer ids in memory, and of one in a file, the hops weigh too much for a goal beside one thread's
  // work.
  const bool isReported = count == 1 || (medium == Medium::memory && count < mostIds);
  suite.compare(what, ours, timing("its reads, decodings and log texts", doBare),
                isReported ? Suite::reported() : goalOf(medium, count));
  suite.compare(what, ours, timing("that work on its threads", doBareOnItsThreads), goalOf(medium, count));
  return ours;
}

void addMedium(Suite& suite, Medium medium, const Suite::Timing& hops) {
  const std::string suffix = ", " + std::string(nameOf(medium));
  const auto add = [&](std::size_t count, const char* what) {
    return addCount(suite, medium, count, std::to_string(count) + what + suffix);
  };
  suite.compare("1 warm id" + suffix, add(1, " warm id"), hops, Suite::reported());
  const auto ten = add(10, " warm ids");
  add(100, " warm ids");
  suite.compare("cost per warm id of 1,000" + suffix, add(mostIds, " warm ids"), {ten.name, "per id of 10"},
                Suite::atMost(1.2), mostIds, 10);
  const auto threaded = [&](const std::string& who, std::size_t threads) {
    return suite.time(
        "64 lookups of 10 ids" + suffix, who, [=](auto& state) { lookUpOnThreads(state, medium, threads); },
        Suite::Clock::wall);
  };
  suite.compare("64 lookups of 10 ids" + suffix, threaded("8 threads", 8), threaded("1 thread", 1),
                medium == Medium::memory ? Suite::atMost(1 / 0.9) : Suite::atMost(1 / 0.9, 1.4));
  suite.count([medium] { return leastServed(medium); });
}

}  // namespace

void addWarmLookups(Suite& suite) {
  const auto hops = suite.time("1 warm id", "its hops between threads", hop, Suite::Clock::rested);
  addMedium(suite, Medium::memory, hops);
  addMedium(suite, Medium::sqlite, hops);
}

}  // namespace vellora::bench
