#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <iostream>
#include <string>

#include "tests/support/CAllocationFailure.h"
#include "tests/support/LongForm.h"

namespace vellora::tests {

/// Fails each allocation of `run` in the C libraries in turn, alone and with all that follow it. `run` is
/// given the number of that allocation, and tells whether there was one. The short form skips some.
template <class Run>
void failEachCAllocationOf(const char* what, Run run, int shortForm) {
  using Extent = CAllocationFailure::Extent;
  const auto step = static_cast<std::size_t>(longForm("VELLORA_TEST_EVERY_C_ALLOCATION").value_or(shortForm));
  for (const auto extent : {Extent::one, Extent::allFromThereOn}) {
    std::size_t runs = 0;
    bool happened = true;
    for (std::size_t number = 1; happened && !testing::Test::HasFailure(); number += step, ++runs) {
      SCOPED_TRACE("allocation " + std::to_string(number) +
                   (extent == Extent::one ? "" : " and all after it"));
      happened = run(number, extent);
    }
    EXPECT_GT(runs, 3U);
    std::cout << "failed allocations of C, " << what << ": " << runs - 1 << '\n';
  }
}

}  // namespace vellora::tests
