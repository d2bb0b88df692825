#pragma once

#include <simdjson.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "bench/Suite.h"
#include "vellora/Platform/Values/Data.h"

namespace vellora::bench {

/// What is asked of ours against each of the three other libraries.
struct PeerGoals {
  Suite::Goal boostJson = Suite::reported();
  Suite::Goal rapidJson = Suite::reported();
  Suite::Goal nlohmann = Suite::reported();
};

/// How each library makes the records of a text.
template <class Records>
struct Decoders {
  std::function<Records(const Data&)> ours;
  std::function<Records(simdjson::dom::element)> byHand;  ///< from the document that simdjson has parsed
  std::function<Records(const Data&)> boostJson;
  std::function<Records(const Data&)> rapidJson;
  std::function<Records(const Data&)> nlohmann;
};

/// Adds the lines about `what`. Each compares our decoding of `text` with another: first with extraction by
/// hand and with what none can go below, parsing and a copy of the records, then with three other libraries.
/// All must give equal records. Two lines show the parts of that limit: parsing alone, and copying and
/// destroying the records alone.
template <class Records>
void addDecoding(Suite& suite, const std::string& what, const Data& text, const Decoders<Records>& decoders,
                 const PeerGoals& goals) {
  const auto time = [&](const std::string& who, std::function<Records(const Data&)> decode) {
    return suite.time(what, who,
                      [&text, decode = std::move(decode), ours = decoders.ours](benchmark::State& state) {
                        if (decode(text) != ours(text)) return state.SkipWithError("decodes to another list");
                        for (auto _ : state) benchmark::DoNotOptimize(decode(text));
                      });
  };
  const auto byHand = [parser = std::make_shared<simdjson::dom::parser>(),
                       extract = decoders.byHand](const Data& bytes) {
    constexpr bool copyIfUnpadded = false;
    return extract(parser->parse(bytes.data(), bytes.size(), copyIfUnpadded));
  };
  const auto ours = time("ours", decoders.ours);
  suite.compare(what, ours, time("simdjson by hand", byHand), Suite::atMost(1.15));
  suite.compare(what, ours, time("Boost.JSON", decoders.boostJson), goals.boostJson);
  suite.compare(what, ours, time("RapidJSON", decoders.rapidJson), goals.rapidJson);
  suite.compare(what, ours, time("nlohmann", decoders.nlohmann), goals.nlohmann);
  const auto parse = [&text](benchmark::State& state) {
    simdjson::dom::parser parser;
    constexpr bool copyIfUnpadded = false;
    for (auto _ : state) {
      if (parser.parse(text.data(), text.size(), copyIfUnpadded).error()) {
        return state.SkipWithError("was not parsed");
      }
    }
  };
  const auto copy = [&text, ours = decoders.ours](benchmark::State& state) {
    const Records records = ours(text);
    for (auto _ : state) benchmark::DoNotOptimize(Records(records));
  };
  const auto parseAndCopy = [&text, ours = decoders.ours](benchmark::State& state) {
    const Records records = ours(text);
    simdjson::dom::parser parser;
    constexpr bool copyIfUnpadded = false;
    for (auto _ : state) {
      if (parser.parse(text.data(), text.size(), copyIfUnpadded).error()) {
        return state.SkipWithError("was not parsed");
      }
      benchmark::DoNotOptimize(Records(records));
    }
  };
  suite.compare(what, ours, suite.time(what, "simdjson's parsing and a copy", parseAndCopy),
                Suite::atMost(1.5));
  suite.compare(what, ours, suite.time(what, "simdjson's parsing alone", parse), Suite::reported());
  suite.compare(what, ours, suite.time(what, "a copy of the records alone", copy), Suite::reported());
}

}  // namespace vellora::bench
