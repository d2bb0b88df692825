#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <iostream>
#include <string>

#include "tests/support/AllocationCounter.h"
#include "tests/support/LongForm.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora::tests {

/// The step from one failing allocation to the next. The short form skips some: under a sanitizer a run takes
/// a while, and it has other allocations than the plain one.
inline std::size_t allocationStep(int shortForm) {
  return static_cast<std::size_t>(longForm("VELLORA_TEST_EVERY_ALLOCATION").value_or(shortForm));
}

/// Fails each allocation of `run` in turn, and compares the heap before and behind each run. `run` tells
/// whether there was an allocation of that number. All of it is done twice: with that one allocation failing
/// alone, and with all that follow it failing too.
template <class Run>
void failEachAllocationOf(Run run, int shortForm = 3) {
  using Extent = AllocationFailure::Extent;
  // The first run makes constants that the process keeps.
  run(1'000'000, Extent::one);
  const auto liveBlocks = [] {
    json::releaseParser();  // a thread may keep one, or not
    return LiveMemory::now().blocks;
  };
  std::size_t failed = 0;
  for (const auto extent : {Extent::one, Extent::allFromThereOn}) {
    bool happened = true;
    for (std::size_t number = 1; happened; number += allocationStep(shortForm)) {
      SCOPED_TRACE("allocation " + std::to_string(number) +
                   (extent == Extent::one ? "" : " and all after it"));
      const auto before = liveBlocks();
      happened = run(number, extent);
      if (happened) ++failed;
      ASSERT_EQ(liveBlocks(), before) << "blocks are leaked";
      ASSERT_FALSE(testing::Test::HasFailure());
    }
  }
  std::cout << "failed allocations: " << failed << '\n';
}

}  // namespace vellora::tests
