// Runs seeds of the simulated world; see Simulation.h.
//   simulate [catalog] FIRST COUNT    runs COUNT seeds from FIRST on; the first one that fails ends it
//   simulate [catalog] --replay SEED  runs one and prints each of its steps
// With "catalog" the world has catalogues in the place of façades; see CatalogSimulation.h.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

#include "tests/simulation/CatalogSimulation.h"
#include "tests/simulation/Simulation.h"

int main(int count, char** arguments) {
  const bool ofCatalogs = count > 1 && std::strcmp(arguments[1], "catalog") == 0;
  const std::string program = std::string(arguments[0]) + (ofCatalogs ? " catalog" : "");
  if (ofCatalogs) ++arguments, --count;
  if (count != 3) {
    std::cerr << "usage: simulate [catalog] FIRST COUNT | simulate [catalog] --replay SEED\n";
    return 2;
  }
  const bool replay = std::strcmp(arguments[1], "--replay") == 0;
  const std::uint64_t first = std::strtoull(arguments[replay ? 2 : 1], nullptr, 10);
  const std::uint64_t seeds = replay ? 1 : std::strtoull(arguments[2], nullptr, 10);
  vellora::simulation::Tally tally;
  const auto& run = ofCatalogs ? vellora::simulation::simulateCatalogs : vellora::simulation::simulate;
  for (std::uint64_t seed = first; seed < first + seeds; ++seed) {
    const auto breach = run(seed, replay, tally);
    if (!breach) continue;
    std::cerr << "seed " << seed << ": " << *breach << "\nreplay: " << program << " --replay " << seed
              << '\n';
    return 1;
  }
  std::cout << seeds << " seeds, " << tally.steps << " steps, " << tally.lookups << " lookups, "
            << tally.answers << " answers, " << tally.requests << " requests, " << tally.faultyAnswers
            << " of them answered wrongly\n";
  return 0;
}
