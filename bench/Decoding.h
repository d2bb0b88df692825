#pragma once

#include <simdjson.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "bench/Suite.h"
#include "vellora/Platform/Data.h"

namespace vellora::bench {

/// A text's records as each library makes them.
template <class Records>
struct Decoders {
  std::function<Records(const Data&)> ours;
  std::function<Records(simdjson::dom::element)> byHand;  ///< from the document that simdjson has parsed
  std::function<Records(const Data&)> boostJson;
  std::function<Records(const Data&)> rapidJson;
  std::function<Records(const Data&)> nlohmann;
};

/// Adds the lines about `what`: ours decoding `text` against extraction by hand, the limit, and against the
/// peers. All have to give what ours gives.
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
}

}  // namespace vellora::bench
