#pragma once

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <string>

#include "conformance/Guarantee.h"

namespace vellora::conformance::tests {

/// What the checks of the guarantees that a host breaks have told GoogleTest, by the guarantee's name.
template <class Host>
std::map<std::string, std::string> failuresOf(const std::function<std::unique_ptr<Host>()>& make,
                                              std::span<const Guarantee<Host>> guarantees) {
  std::map<std::string, std::string> failures;
  for (const Guarantee<Host>& guarantee : guarantees) {
    testing::TestPartResultArray results;
    {
      const testing::ScopedFakeTestPartResultReporter reporter(
          testing::ScopedFakeTestPartResultReporter::INTERCEPT_ALL_THREADS, &results);
      guarantee.check(*make());
    }
    for (int i = 0; i < results.size(); ++i) {
      const testing::TestPartResult& result = results.GetTestPartResult(i);
      if (result.failed()) failures[std::string(guarantee.name)].append(result.message()).append("\n");
    }
  }
  return failures;
}

/// The names of the guarantees that a host breaks: those whose check reports a failure to GoogleTest.
template <class Host>
std::set<std::string> brokenBy(const std::function<std::unique_ptr<Host>()>& make,
                               std::span<const Guarantee<Host>> guarantees) {
  std::set<std::string> broken;
  for (const auto& [name, failure] : failuresOf(make, guarantees)) broken.insert(name);
  return broken;
}

}  // namespace vellora::conformance::tests
