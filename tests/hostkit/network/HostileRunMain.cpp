// Runs the ready-made network against a hostile server; see HostileRun.h.
//   hostile-run SECONDS [SEED]  rounds from that seed on, from 1 unless it says otherwise, until the time is
//   over hostile-run --replay SEED   one round
// A promise that is broken ends it, and it prints the command that replays the round.
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include "tests/hostkit/network/HostileRun.h"

int main(int count, char** arguments) {
  using Clock = std::chrono::steady_clock;
  if (count != 2 && count != 3) {
    std::cerr << "usage: hostile-run SECONDS [SEED] | hostile-run --replay SEED\n";
    return 2;
  }
  constexpr std::size_t requestsOfAThread = 60;
  const bool replay = std::strcmp(arguments[1], "--replay") == 0;
  const auto end = Clock::now() + std::chrono::seconds(replay ? 0 : std::atoi(arguments[1]));
  const std::uint64_t first = count == 3 ? std::strtoull(arguments[2], nullptr, 10) : 1;
  std::uint64_t seed = first;
  vellora::hostkit::HostileTally tally;
  do {
    if (const auto breach = vellora::hostkit::runHostileRound(seed, requestsOfAThread, tally)) {
      std::cerr << "seed " << seed << ": " << *breach << "\nreplay: " << arguments[0] << " --replay " << seed
                << '\n';
      return 1;
    }
    ++seed;
  } while (Clock::now() < end);
  std::cout << "rounds: " << seed - first << ", requests " << tally.requests << ", right answers "
            << tally.answers << ", errors " << tally.failures << ", cut off " << tally.cutOff << ", tricks "
            << tally.played.size() << '\n';
  return 0;
}
