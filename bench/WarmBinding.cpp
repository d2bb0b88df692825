#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdlib>
#include <iostream>
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
#include "bindings/c/vellora.h"
#include "vellora/Catalog/AnswerDocument.h"
#include "vellora/Catalog/Catalog.h"

// What a question through vellora.h takes more than one to the catalogue, the document included in both. Each
// has a ready-made host with its cache in memory.

namespace vellora::bench {

namespace {

constexpr std::size_t warmIds = 1'000;
constexpr double mostTimesTheCatalogue = 1.2;

const std::vector<std::string>& ids() {
  static const auto all = CannedHost(Medium::memory, sampleTypes).ids(warmIds);
  return all;
}

void endUnless(bool isFine) {
  if (isFine) return;
  std::cerr << "the catalogue for C cannot be opened or asked\n";
  std::exit(1);
}

vellora_catalog* openedCatalog() {
  static const std::string server = demoServer().url();
  vellora_options options{};
  options.struct_size = sizeof options;
  options.server = server.c_str();
  vellora_catalog* catalog = nullptr;
  endUnless(vellora_open(&options, &catalog) == nullptr);
  return catalog;
}

/// How many are found, and how long the document is.
std::pair<std::size_t, std::size_t> askInC(vellora_catalog* catalog, const std::vector<vellora_text>& keys) {
  vellora_question* question = nullptr;
  vellora_answer* answer = nullptr;
  endUnless(vellora_ask(catalog, VELLORA_RECORDS, keys.data(), keys.size(), nullptr, nullptr, &question) ==
                nullptr &&
            vellora_wait(question, &answer) == nullptr);
  vellora_text document{};
  vellora_summary summary{};
  summary.struct_size = sizeof summary;
  endUnless(vellora_answer_document(answer, &document) == nullptr &&
            vellora_answer_summary(answer, &summary) == nullptr);
  vellora_answer_free(answer);
  vellora_question_free(question);
  return {summary.found, document.size};
}

void fromC(benchmark::State& state) {
  static vellora_catalog* const catalog = openedCatalog();
  std::vector<vellora_text> keys;
  for (const auto& id : ids()) keys.push_back({id.data(), id.size()});
  static_cast<void>(askInC(catalog, keys));
  for (auto _ : state) {
    const auto [found, size] = askInC(catalog, keys);
    if (found != warmIds || size == 0) return state.SkipWithError("an id was not found");
  }
}

void fromCxx(benchmark::State& state) {
  static const Catalog catalog(readyHost(demoServer().url(), std::nullopt));
  static_cast<void>(catalog.records(ids()).get());
  for (auto _ : state) {
    const auto answer = catalog.records(ids()).get();
    const auto document = recordsDocument(answer, ids());
    if (answer.found.size() != warmIds || !document) return state.SkipWithError("an id was not found");
  }
}

}  // namespace

void addWarmBinding(Suite& suite) {
  const std::string what = "records of 1,000 warm ids and their JSON";
  suite.compare(what, suite.time(what, "from C", fromC, Suite::Clock::wall),
                suite.time(what, "from C++", fromCxx, Suite::Clock::wall),
                Suite::atMost(mostTimesTheCatalogue));
}

}  // namespace vellora::bench
