#include "tests/DataServices/SObjectsFixture.h"
#include "tests/support/ManualQueues.h"
#include "vellora/DataServices/ThemeDataService.h"

namespace vellora {
namespace {

using testing::ElementsAre;
using tests::ManualQueues;

TEST(DataServiceQueuesTest, EachServiceHasAQueueOfItsOwnThatAUserWaitsFor) {
  const ManualQueues queues;
  const SObjectsHost host;

  const auto sObjects = std::make_shared<SObjectsDataService>(host.api(), 300);
  const auto themes = std::make_shared<ThemeDataService>(host.api(), 300);

  EXPECT_THAT(
      queues.made(),
      ElementsAre(ManualQueues::SerialQueue{"SObjectsDataService.queue", DispatchQoS::userInitiated},
                  ManualQueues::SerialQueue{"ThemeDataService.queue", DispatchQoS::userInitiated}));
}

}  // namespace
}  // namespace vellora
