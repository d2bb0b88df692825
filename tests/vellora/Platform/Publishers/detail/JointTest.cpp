#include "vellora/Platform/Publishers/detail/Joint.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <vector>

#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Publishers/Subject.h"

namespace vellora::detail {
namespace {

TEST(JointTest, AValueThatComesWhileAnotherIsDeliveredIsDeliveredBehindIt) {
  const std::array<Subject<int>, 2> subjects;
  std::vector<int> begun;
  std::vector<int> done;
  const auto token = Publisher<std::size_t>::sequence({0, 1})
                         .flatMap([&](std::size_t index) { return subjects.at(index).publisher(); })
                         .sink([&](int value) {
                           begun.push_back(value);
                           if (value == 1) subjects[1].send(2);
                           done.push_back(value);
                         });
  subjects[0].send(1);
  subjects[0].send(3);
  EXPECT_THAT(begun, testing::ElementsAre(1, 2, 3));
  EXPECT_EQ(done, begun);
}

}  // namespace
}  // namespace vellora::detail
