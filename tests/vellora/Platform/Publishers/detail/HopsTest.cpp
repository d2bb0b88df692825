#include "vellora/Platform/Publishers/detail/Hops.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "tests/support/RefusingQueue.h"
#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Publishers/Subject.h"
#include "vellora/Platform/Values/OutOfMemory.h"

namespace vellora::detail {
namespace {

TEST(HopsTest, AValueThatGetsNoHopIsNotDeliveredInPlaceOfTheEnd) {
  const auto queue = std::make_shared<tests::RefusingQueue>();
  const Subject<int> subject;
  std::vector<int> values;
  std::vector<Completion> ends;
  const auto token = subject.publisher().receive(queue).sink(
      [&](int value) { values.push_back(value); }, [&](const Completion& end) { ends.push_back(end); });
  subject.send(1);
  queue->refuseNext();
  subject.send(2);
  queue->runAll();
  EXPECT_THAT(values, testing::ElementsAre(1));
  ASSERT_EQ(ends.size(), 1U);
  EXPECT_TRUE(ends.front() && ends.front()->as<OutOfMemory>());
}

}  // namespace
}  // namespace vellora::detail
