#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "fuzz/Target.h"

// The entry point that libFuzzer calls, of the program for the one target that FUZZ_TARGET names.

namespace {

const vellora::fuzz::Target& chosenTarget() {
  for (const auto& target : vellora::fuzz::targets()) {
    if (target.name == FUZZ_TARGET) return target;
  }
  std::fputs("there is no target " FUZZ_TARGET "\n", stderr);
  std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const auto& target = chosenTarget();
  try {
    target.run(vellora::Data(bytes, size));
  } catch (const vellora::fuzz::BrokenPromise& broken) {
    std::fprintf(stderr, "%s: broken promise: %s\n", FUZZ_TARGET, broken.what());
    std::abort();
  }
  return 0;
}
