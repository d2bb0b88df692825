#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "fuzz/Seeds.h"

// Writes the seeds into FOLDER/TARGET/demo-N; what else is there stays.

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: make-fuzz-corpora FOLDER\n";
    return 2;
  }
  for (const auto& [target, inputs] : vellora::fuzz::seeds()) {
    const auto folder = std::filesystem::path(argv[1]) / target;
    std::filesystem::create_directories(folder);
    for (std::size_t number = 0; number < inputs.size(); ++number) {
      const auto file = folder / ("demo-" + std::to_string(number));
      if (std::ofstream(file, std::ios::binary) << inputs[number]) continue;
      std::cerr << "make-fuzz-corpora: cannot write " << file << '\n';
      return 1;
    }
  }
  return 0;
}
