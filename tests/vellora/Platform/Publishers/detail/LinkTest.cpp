#include "vellora/Platform/Publishers/detail/Link.h"

#include <gtest/gtest.h>

namespace vellora::detail {
namespace {

class Deaf final : public Receiver {
 public:
  void receive(void* /*value*/) override {}
  void complete(Completion&& /*completion*/) override {}
};

TEST(LinkTest, LeavesNothingBehindInAScopeThatOutlivesIt) {
  const SubscriptionScope scope;
  {
    const auto link = Link::make(Handle<Receiver>(new Deaf), scope);
    EXPECT_EQ(scope.size(), 1U);
  }
  EXPECT_EQ(scope.size(), 0U);
}

}  // namespace
}  // namespace vellora::detail
