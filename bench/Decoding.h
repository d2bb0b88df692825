#pragma once

#include <simdjson.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "bench/Suite.h"
#include "vellora/Platform/Values/Data.h"

namespace vellora::bench {

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
/// hand, which is the limit, then with three other libraries. All must give equal records. Two lines show
/// what none of them can go below: parsing alone, and copying and destroying the records alone.
template <class Records>
void addDecoding(Suite& suite, const std::string& what, const Data& text, const Decoders<Records>& decoders) {
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
  suite.compare(what, ours, time("Boost.JSON", decoders.boostJson), Suite::atLeast(3));
  suite.compare(what, ours, time("RapidJSON", decoders.rapidJson), Suite::atLeast(3));
  suite.compare(what, ours, time("nlohmann", decoders.nlohmann), Suite::atLeast(20));
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
  suite.compare(what, ours, suite.time(what, "simdjson's parsing alone", parse), Suite::reported());
  suite.compare(what, ours, suite.time(what, "a copy of the records alone", copy), Suite::reported());
}

}  // namespace vellora::bench
