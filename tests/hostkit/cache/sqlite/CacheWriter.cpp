// Writes generations into a cache file until it kills itself, in the middle of whatever its main thread does.
//   cache-writer FILE WRITES MICROSECONDS
// The kill comes so many microseconds after so many writes have succeeded. Each of these is told on standard
// output first, as a line "GENERATION ITEM".

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <string>
#include <thread>

#include "tests/hostkit/cache/sqlite/Generations.h"

namespace {

using namespace vellora::hostkit;
using namespace vellora::hostkit::tests;

std::atomic<int> written = 0;

void killAfter(int writes, std::chrono::microseconds delay) {
  while (written < writes) std::this_thread::yield();
  const auto end = std::chrono::steady_clock::now() + delay;
  while (std::chrono::steady_clock::now() < end) continue;
  kill(getpid(), SIGKILL);
}

void tell(int generation, const std::string& item) {
  const std::string line = std::to_string(generation) + " " + item + "\n";
  if (write(STDOUT_FILENO, line.data(), line.size()) < 0) std::exit(3);
  ++written;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  std::thread killer(killAfter, std::atoi(argv[2]), std::chrono::microseconds(std::atoi(argv[3])));
  killer.detach();

  // On a busy machine a test that reads meanwhile may hold the file for long.
  const auto opened = SQLiteCache::open(argv[1], {.busyTimeout = std::chrono::seconds(60)});
  if (!opened) {
    std::cerr << opened.error().localizedDescription() << '\n';
    return 1;
  }
  SQLiteCache& cache = *opened.value();
  // Where the one before was killed is where this one goes on.
  int generation = generations::generationIn(cache, generations::items.back());
  while (true) {
    ++generation;
    for (const std::string item : generations::items) {
      if (!generations::write(cache, item, generation)) return 1;
      tell(generation, item);
    }
  }
}
