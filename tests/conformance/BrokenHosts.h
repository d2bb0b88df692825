#pragma once

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <set>
#include <span>
#include <string>

#include "conformance/Guarantee.h"

namespace vellora::conformance::tests {

/// The names of the guarantees that a host breaks: those whose check reports a failure to GoogleTest.
template <class Host>
std::set<std::string> brokenBy(const std::function<std::unique_ptr<Host>()>& make,
                               std::span<const Guarantee<Host>> guarantees) {
  std::set<std::string> broken;
  for (const Guarantee<Host>& guarantee : guarantees) {
    testing::TestPartResultArray results;
    {
      const testing::ScopedFakeTestPartResultReporter reporter(
          testing::ScopedFakeTestPartResultReporter::INTERCEPT_ALL_THREADS, &results);
      guarantee.check(*make());
    }
    for (int i = 0; i < results.size(); ++i) {
      if (results.GetTestPartResult(i).failed()) broken.emplace(guarantee.name);
    }
  }
  return broken;
}

}  // namespace vellora::conformance::tests
