#include <benchmark/benchmark.h>

#include <atomic>
#include <cstddef>
#include <future>
#include <memory>
#include <string>

#include "bench/Rows.h"
#include "hostkit/network/CoalescingNetwork.h"
#include "hostkit/network/CurlNetwork.h"
#include "testkit/ScriptedServer.h"
#include "tests/support/Requests.h"

namespace vellora::bench {

namespace {

constexpr std::size_t few = 5'000;
constexpr std::size_t many = 60'000;

/// The ready-made network, and a server that answers every request alike.
struct Wire {
  Wire() { server.replyAlways(testkit::ScriptedServer::http("200 OK", "{}")); }

  testkit::ScriptedServer server;
  const std::shared_ptr<hostkit::CoalescingNetwork> network = std::make_shared<hostkit::CoalescingNetwork>(
      hostkit::CurlNetwork::make({.server = server.url()}).value());
};

/// What is missing of the answers to requests that were sent at once.
struct Answers {
  explicit Answers(std::size_t count) : missing(count) {}

  std::atomic<std::size_t> missing;
  std::atomic<std::size_t> failures = 0;
  std::promise<void> done;
};

/// Sends `count` different requests at once, and waits for all their answers.
void sendAtOnce(benchmark::State& state, Wire& wire, std::size_t count) {
  for (auto _ : state) {
    const auto answers = std::make_shared<Answers>(count);
    for (std::size_t i = 0; i < count; ++i) {
      wire.network->sendRequest(tests::get("/services/data?n=" + std::to_string(i)),
                                [answers](const auto& data, const auto&, const auto&) {
                                  if (!data) ++answers->failures;
                                  if (--answers->missing == 0) answers->done.set_value();
                                });
    }
    answers->done.get_future().wait();
    if (answers->failures > 0) return state.SkipWithError("a request failed");
  }
}

}  // namespace

void addManyRequests(Suite& suite) {
  const auto wire = std::make_shared<Wire>();
  const auto time = [&](std::size_t count, const char* who) {
    return suite.time(
        std::to_string(count) + " requests at once", who,
        [wire, count](benchmark::State& state) { sendAtOnce(state, *wire, count); }, Suite::Clock::wall);
  };
  suite.compare("a request among 60,000 at once", time(many, "ours"), time(few, "a request among 5,000"),
                Suite::atMost(1.3), many, few);
}

}  // namespace vellora::bench
