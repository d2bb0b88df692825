#include "tests/support/ManualQueues.h"
#include "tests/vellora/DataServices/SObjectsFixture.h"
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

  EXPECT_THAT(queues.made(),
              ElementsAre(ManualQueues::SerialQueue{"SObjectsDataService.queue", DispatchQoS::userInitiated},
                          ManualQueues::SerialQueue{"ThemeDataService.queue", DispatchQoS::userInitiated}));
}

/// Whether loads and lookups share one queue: then only one piece of work can be next.
template <class Lookup>
bool waitsForTheLookup(const ManualQueues& queues, const Lookup& lookup, const std::function<void()>& load) {
  const AnyCancellable token = lookup.sink([](const auto&) {});
  const auto pending = queues.pending();
  load();
  EXPECT_EQ(queues.pending(), pending + 1);
  return queues.choices() == 1;
}

TEST(DataServiceQueuesTest, ALoadStartsOnTheQueueOfTheLookups) {
  const ManualQueues queues;
  const SObjectsHost host;
  host.network->answerPrefix("/", testkit::StubNetwork::never());
  const auto sObjects = std::make_shared<SObjectsDataService>(host.api(), 300);
  EXPECT_TRUE(waitsForTheLookup(queues, sObjects->sObjectsForNames({"Account"}),
                                [&] { sObjects->loadSObjects(nullptr); }));
}

TEST(DataServiceQueuesTest, ALoadOfThemesStartsOnTheQueueOfTheLookupsToo) {
  const ManualQueues queues;
  const SObjectsHost host;
  host.network->answerPrefix("/", testkit::StubNetwork::never());
  const auto themes = std::make_shared<ThemeDataService>(host.api(), 300);
  EXPECT_TRUE(waitsForTheLookup(queues, themes->themes({"Account"}), [&] { themes->loadThemes(nullptr); }));
}

}  // namespace
}  // namespace vellora
