#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <utility>

#include "conformance/Guarantee.h"

namespace vellora::conformance {

/// A test that tries one guarantee on a host of its own.
template <class Host>
class Trial : public testing::Test {
 public:
  Trial(Guarantee<Host> guarantee, std::function<std::unique_ptr<Host>()> make)
      : guarantee_(guarantee), make_(std::move(make)) {}

  void TestBody() override {
    const std::unique_ptr<Host> host = make_();
    ASSERT_NE(host, nullptr) << "there is no host to try";
    guarantee_.check(*host);
  }

 private:
  const Guarantee<Host> guarantee_;
  const std::function<std::unique_ptr<Host>()> make_;
};

/// Adds a test for each guarantee; to be called before the tests run.
template <class Host>
void registerTrials(const std::string& suite, std::span<const Guarantee<Host>> guarantees,
                    const std::function<std::unique_ptr<Host>()>& make) {
  for (const Guarantee<Host>& guarantee : guarantees) {
    testing::RegisterTest(suite.c_str(), std::string(guarantee.name).c_str(), nullptr, nullptr, __FILE__,
                          __LINE__,
                          [guarantee, make]() -> testing::Test* { return new Trial<Host>(guarantee, make); });
  }
}

}  // namespace vellora::conformance
