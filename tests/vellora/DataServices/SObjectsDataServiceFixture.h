#pragma once

#include <algorithm>

#include "tests/support/ManualQueues.h"
#include "tests/support/TestClock.h"
#include "tests/support/TestError.h"
#include "tests/vellora/DataServices/SObjectsFixture.h"
#include "vellora/Host/CacheTable.h"

namespace vellora {

using ById = std::map<std::string, SObjectsDataService::TypeAndInstance>;
using ByName = std::map<std::string, std::optional<SObject>>;

inline constexpr const char* tableKey = "OPS_SObjectsCacheTable";
inline constexpr const char* errorLine = "VelloraService: SObjectsDataServiceError: ";
inline constexpr const char* noDataLine =
    "VelloraService: SObjectsDataServiceError: The operation could not be completed. "
    "(SObjectsDataServiceError.noData)";

/// A service on a host of doubles; the test steps its queue, and may stop the clock.
class SObjectsDataServiceTest : public testing::Test {
 protected:
  template <class T>
  void watch(const Publisher<T>& publisher, Received<T>& received) {
    token = publisher.sink([&received](T value) { received.values.push_back(std::move(value)); },
                           [&received](const Completion& end) { received.end = end; });
  }

  Received<ByName> names(std::vector<std::string> asked) {
    Received<ByName> received;
    watch(service->sObjectsForNames(std::move(asked)), received);
    queues.runAll();
    token.cancel();
    return received;
  }

  Received<ById> ids(std::vector<std::string> asked) {
    Received<ById> received;
    watch(service->sObjectsForIds(std::move(asked)), received);
    queues.runAll();
    token.cancel();
    return received;
  }

  /// A cache that holds the list of four, and nothing else; nothing of it logged or counted.
  void cacheList() {
    host.network->answer(listUrl, testkit::StubNetwork::body(listBody));
    service->loadSObjects(nullptr);
    queues.runAll();
    forget();
  }

  void forget() {
    host.logger->clear();
    host.cache->clearCalls();
  }

  tests::TestClock clock{Date::since1970(1'700'000'000)};
  tests::ManualQueues queues;
  SObjectsHost host;
  std::shared_ptr<SObjectsDataService> service = std::make_shared<SObjectsDataService>(host.api(), 300);
  AnyCancellable token;
};

}  // namespace vellora
