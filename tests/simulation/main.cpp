// Runs seeds of the simulated world; see Simulation.h.
//   simulate FIRST COUNT    runs COUNT seeds from FIRST on; the first one that fails ends it
//   simulate --replay SEED  runs one and prints each of its steps
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

#include "tests/simulation/Simulation.h"

int main(int count, char** arguments) {
  if (count != 3) {
    std::cerr << "usage: simulate FIRST COUNT | simulate --replay SEED\n";
    return 2;
  }
  const bool replay = std::strcmp(arguments[1], "--replay") == 0;
  const std::uint64_t first = std::strtoull(arguments[replay ? 2 : 1], nullptr, 10);
  const std::uint64_t seeds = replay ? 1 : std::strtoull(arguments[2], nullptr, 10);
  vellora::simulation::Tally tally;
  for (std::uint64_t seed = first; seed < first + seeds; ++seed) {
    const auto breach = vellora::simulation::simulate(seed, replay, tally);
    if (!breach) continue;
    std::cerr << "seed " << seed << ": " << *breach << "\nreplay: " << arguments[0] << " --replay " << seed
              << '\n';
    return 1;
  }
  std::cout << seeds << " seeds, " << tally.steps << " steps, " << tally.lookups << " lookups, "
            << tally.answers << " answers, " << tally.requests << " requests, " << tally.faultyAnswers
            << " of them answered wrongly\n";
  return 0;
}
