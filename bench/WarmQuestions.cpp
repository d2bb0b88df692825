#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <future>
#include <iterator>
#include <latch>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bench/CannedHost.h"
#include "bench/DemoServer.h"
#include "bench/ReadyHost.h"
#include "bench/Rows.h"
#include "bench/Samples.h"
#include "tests/support/TemporaryFolder.h"
#include "vellora/Catalog/Catalog.h"
#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"
#include "vellora/Platform/Queues/ThreadCount.h"
#include "vellora/Services/VelloraService.h"

// What a catalogue takes more than the façade for the same keys on the same host.

namespace vellora::bench {

namespace {

constexpr std::array<std::size_t, 4> counts{1, 10, 100, 1'000};

constexpr double mostTimesTheFacade = 1.2;

/// The fewer types, the more the hops weigh, and what a wake-up takes changes from run to run.
double acceptedOf(std::size_t count) {
  if (count < 100) return 2;
  return count == 100 ? 1.75 : 1.5;
}

const CannedHost& warmHost(Medium medium) {
  const auto warmed = [](Medium kind) {
    auto host = std::make_unique<CannedHost>(kind, sampleTypes);
    static_cast<void>(host->lookUpIds(host->ids(counts.back())));
    return host;
  };
  static const auto inMemory = warmed(Medium::memory);
  static const auto onSQLite = warmed(Medium::sqlite);
  return medium == Medium::memory ? *inMemory : *onSQLite;
}

void ask(benchmark::State& state, Medium medium, std::size_t count) {
  const CannedHost& host = warmHost(medium);
  const auto ids = host.ids(count);
  std::size_t fewest = count;
  runRested(state, [&] { fewest = std::min(fewest, host.askRecords(ids)); });
  if (fewest != count) state.SkipWithError("an id was not found");
}

void lookUp(benchmark::State& state, Medium medium, std::size_t count) {
  const CannedHost& host = warmHost(medium);
  const auto ids = host.ids(count);
  std::size_t fewest = count;
  runRested(state, [&] { fewest = std::min(fewest, host.lookUpIds(ids)); });
  if (fewest != count) state.SkipWithError("an id was not found");
}

void addIds(Suite& suite, Medium medium) {
  for (const std::size_t count : counts) {
    const std::string what = "records of " + std::to_string(count) +
                             (count == 1 ? " warm id, " : " warm ids, ") + std::string(nameOf(medium));
    suite.compare(
        what,
        suite.time(
            what, "a catalogue", [=](auto& state) { ask(state, medium, count); }, Suite::Clock::rested),
        suite.time(
            what, "the façade", [=](auto& state) { lookUp(state, medium, count); }, Suite::Clock::rested),
        Suite::atMost(mostTimesTheFacade));
  }
}

struct SearchLayouts {
  static constexpr const char* name = "columns of ";
  static auto ask(const Catalog& catalog, const std::vector<std::string>& names) {
    return catalog.searchColumns(names);
  }
  template <class Completion>
  static void lookUp(VelloraService& service, const std::vector<std::string>& names, Completion completion) {
    service.objectLayoutInfoForApiNames(names, std::move(completion));
  }
};

struct CompactLayouts {
  static constexpr const char* name = "headlines of ";
  static auto ask(const Catalog& catalog, const std::vector<std::string>& names) {
    return catalog.headlines(names);
  }
  template <class Completion>
  static void lookUp(VelloraService& service, const std::vector<std::string>& names, Completion completion) {
    service.objectCompactLayoutInfoForApiNames(names, std::move(completion));
  }
};

/// A host whose cache holds the layouts of as many types as are asked for, with a catalogue and a façade.
struct WarmLayouts {
  explicit WarmLayouts(bool inMemory)
      : host(readyHost(demoServer().url(),
                       inMemory ? std::nullopt : std::optional(folder.file("cache.sqlite")))),
        catalog(host),
        service(startedService(host)) {
    const auto names = sampleTypeNames(counts.back());
    static_cast<void>(catalog.searchColumns(names, {.deadline = std::chrono::minutes(1)}).get());
    static_cast<void>(catalog.headlines(names, {.deadline = std::chrono::minutes(1)}).get());
  }

  const tests::TemporaryFolder folder;
  const std::shared_ptr<hostkit::StandardPlatformAPI> host;
  const Catalog catalog;
  const std::unique_ptr<VelloraService> service;
};

const WarmLayouts& warmLayouts(Medium medium) {
  if (medium == Medium::memory) {
    static const WarmLayouts inMemory(true);
    return inMemory;
  }
  static const WarmLayouts onSQLite(false);
  return onSQLite;
}

template <class Kind>
void askForLayouts(benchmark::State& state, Medium medium, std::size_t count) {
  const WarmLayouts& warm = warmLayouts(medium);
  const auto names = sampleTypeNames(count);
  std::size_t fewest = count;
  runRested(state, [&] { fewest = std::min(fewest, Kind::ask(warm.catalog, names).get().found.size()); });
  if (fewest != count) state.SkipWithError("a layout was not found");
}

/// The façade as who wants what a catalogue promises has to use it: asked on a queue, so that a cache that
/// hangs does not hang who asks, and waited for. Names and answer belong to the work on the queue, which may
/// outlast the wait.
template <class Kind>
void lookUpLayoutsWithHops(benchmark::State& state, Medium medium, std::size_t count) {
  using Infos = decltype(Kind::ask(warmLayouts(medium).catalog, {}).get().found);
  const WarmLayouts& warm = warmLayouts(medium);
  const auto names = sampleTypeNames(count);
  SerialDispatchQueue queue("façade");
  std::size_t fewest = count;
  runRested(state, [&] {
    const auto answered = std::make_shared<std::promise<Infos>>();
    queue.async([&service = *warm.service, names, answered] {
      Kind::lookUp(service, names,
                   [&](auto infos) { answered->set_value(infos ? *std::move(infos) : Infos()); });
    });
    fewest = std::min(fewest, answered->get_future().get().size());
  });
  if (fewest != count) state.SkipWithError("a layout was not found");
}

/// The façade answers from the cache within the call.
template <class Kind>
void lookUpLayouts(benchmark::State& state, Medium medium, std::size_t count) {
  const WarmLayouts& warm = warmLayouts(medium);
  const auto names = sampleTypeNames(count);
  std::size_t fewest = count;
  runRested(state, [&] {
    std::size_t found = 0;
    Kind::lookUp(*warm.service, names, [&](const auto& infos) { found = infos ? infos->size() : 0; });
    fewest = std::min(fewest, found);
  });
  if (fewest != count) state.SkipWithError("was not answered at once from the cache");
}

template <class Kind>
void addLayouts(Suite& suite, Medium medium) {
  for (const std::size_t count : counts) {
    const std::string what = Kind::name + std::to_string(count) +
                             (count == 1 ? " cached type, " : " cached types, ") +
                             std::string(nameOf(medium));
    const auto ours = suite.time(
        what, "a catalogue", [=](auto& state) { askForLayouts<Kind>(state, medium, count); },
        Suite::Clock::rested);
    suite.compare(
        what, ours,
        suite.time(
            what, "the façade and its hops",
            [=](auto& state) { lookUpLayoutsWithHops<Kind>(state, medium, count); }, Suite::Clock::rested),
        Suite::atMost(mostTimesTheFacade, acceptedOf(count)));
    suite.compare(what, ours,
                  suite.time(
                      what, "the façade", [=](auto& state) { lookUpLayouts<Kind>(state, medium, count); },
                      Suite::Clock::rested),
                  Suite::reported());
  }
}

/// How many threads this process has.
std::size_t threads() {
  const std::filesystem::directory_iterator tasks("/proc/self/task");
  return static_cast<std::size_t>(std::distance(begin(tasks), end(tasks)));
}

class HangingNetwork final : public CorvaneSDK::Network {
 public:
  void sendRequest(const CorvaneSDK::NetRequest&, Completion) override {}
};

/// Starts every thread of the library's pool. How many of them a hundred questions start is luck.
void fillThreadPool() {
  const auto most = static_cast<std::ptrdiff_t>(detail::threadCount());
  const auto all = std::make_shared<std::latch>(most + 1);
  const auto pool = DispatchQueue::global(DispatchQoS::unspecified);
  for (std::ptrdiff_t asked = 0; asked < most; ++asked) pool->async([all] { all->arrive_and_wait(); });
  all->arrive_and_wait();
}

/// The threads that 10,000 questions in flight take, beside those that a hundred take: none.
Table::Line threadsOfManyQuestions() {
  fillThreadPool();
  const tests::TemporaryFolder folder;
  const Catalog catalog(std::make_shared<hostkit::StandardPlatformAPI>(std::make_shared<HangingNetwork>(),
                                                                       freshCache(Medium::memory, folder),
                                                                       std::make_shared<LineCounter>()));
  std::vector<Question<ObjectPresentationInfo>> open;
  const auto threadsWith = [&](std::size_t count) {
    while (open.size() < count) {
      open.push_back(
          catalog.types({"Type" + std::to_string(open.size())}, {.deadline = std::chrono::hours(1)}));
    }
    return threads();
  };
  const auto few = threadsWith(100);
  const auto many = threadsWith(10'000);
  return {.what = "threads with 10,000 questions in flight",
          .ours = std::to_string(many),
          .against = "with 100 of them, " + std::to_string(few),
          .ratio = static_cast<double>(many) / static_cast<double>(few),
          .bound = 1.0};
}

}  // namespace

void addWarmQuestions(Suite& suite) {
  for (const auto medium : {Medium::memory, Medium::sqlite}) {
    addIds(suite, medium);
    addLayouts<SearchLayouts>(suite, medium);
    addLayouts<CompactLayouts>(suite, medium);
  }
  suite.count(threadsOfManyQuestions);
}

}  // namespace vellora::bench
