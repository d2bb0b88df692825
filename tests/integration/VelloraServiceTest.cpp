#include "vellora/Services/VelloraService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "apps/records-server/RecordsServer.h"
#include "hostkit/StandardPlatformAPI.h"
#include "tests/support/Awaited.h"
#include "tests/support/TemporaryFolder.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"

// The whole library as a host embeds it: real queues and threads, real HTTP, a cache in a file.

namespace vellora {
namespace {

using recordsserver::DataSet;
using recordsserver::Fault;
using recordsserver::RecordsServer;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using State = VelloraService::State;

constexpr auto patience = std::chrono::seconds(60);
constexpr const char* themesLine = "GET /services/data/v50.0/theme";
constexpr const char* sObjectsLine = "GET /services/data/v50.0/sobjects";

/// Counts what arrives on several threads, and waits for a number of it.
class Arrivals {
 public:
  void add() {
    const std::lock_guard lock(mutex_);
    ++count_;
    changed_.notify_all();
  }

  /// Ends the program when they don't come, since a handler may then still be on its way.
  void waitFor(int count) {
    std::unique_lock lock(mutex_);
    if (!changed_.wait_for(lock, patience, [&] { return count_ >= count; })) std::abort();
  }

  [[nodiscard]] int count() const {
    const std::lock_guard lock(mutex_);
    return count_;
  }

 private:
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  int count_ = 0;
};

class VelloraServiceIntegrationTest : public testing::Test {
 protected:
  using Infos = std::map<std::string, ObjectPresentationInfo>;

  void SetUp() override { server = RecordsServer::start(DataSet::builtIn()).value(); }

  void construct(double cacheTimeout = 3600) {
    const auto host = hostkit::StandardPlatformAPI::make(
        {.server = server->url(), .cacheFile = folder.file("cache.sqlite")});
    ASSERT_TRUE(host) << host.error().localizedDescription();
    service = std::make_shared<VelloraService>(host.value(), cacheTimeout, "light", queue);
  }

  std::future<Infos> ask(const std::vector<std::string>& ids) {
    const auto answer = std::make_shared<std::promise<Infos>>();
    service->objectPresentationInfoForIds(ids,
                                          [answer](Infos infos) { answer->set_value(std::move(infos)); });
    return answer->get_future();
  }

  Infos lookUp(const std::vector<std::string>& ids) { return tests::awaited(ask(ids)); }

  /// Keeps the loads of façades from starting, until it is given a value or destroyed.
  [[nodiscard]] std::promise<void> holdLoads() {
    std::promise<void> end;
    queue->async([ended = end.get_future().share()] { ended.wait(); });
    return end;
  }

  const tests::TemporaryFolder folder;
  const std::shared_ptr<SerialDispatchQueue> queue =
      std::make_shared<SerialDispatchQueue>(std::string(VelloraService::Constants::queueLabel));
  std::unique_ptr<RecordsServer> server;
  std::shared_ptr<VelloraService> service;
};

TEST_F(VelloraServiceIntegrationTest, AColdStartFetchesBothListsAndTheListViewOnce) {
  construct();
  const auto infos = lookUp({"001000000000009", "00B000000000003"});
  ASSERT_EQ(infos.size(), 2U);
  EXPECT_EQ(infos.at("001000000000009").typePresentationInfo.label, "Account");
  EXPECT_EQ(infos.at("00B000000000003").instancePresentationInfo->apiName(), "Case");
  EXPECT_EQ(service->primerState(), State::loaded());
  EXPECT_TRUE(service->primedAndCached());
  EXPECT_THAT(
      server->requests(),
      UnorderedElementsAre(themesLine, sObjectsLine,
                           "GET /services/data/v50.0/query?q=SELECT%20Id,SobjectType%20FROM%20ListView%20"
                           "WHERE%20Id%20%3D%20'00B000000000003'"));
}

TEST_F(VelloraServiceIntegrationTest, ASecondStartOnTheSameFileAnswersWithoutARequestAndWithoutTheServer) {
  construct();
  const auto first = lookUp({"001000000000009", "00B000000000003"});
  service.reset();
  server->clearRequests();
  construct();
  EXPECT_EQ(lookUp({"001000000000009", "00B000000000003"}), first);
  EXPECT_THAT(server->requests(), IsEmpty());
  service.reset();
  server->stop();
  construct();
  EXPECT_EQ(lookUp({"001000000000009", "00B000000000003"}), first);
}

TEST_F(VelloraServiceIntegrationTest, WhenEverythingHasExpiredAndTheServerIsGoneTheOldListsStillAnswer) {
  construct();
  const auto first = lookUp({"001000000000009"});
  service.reset();
  server->stop();
  auto loads = holdLoads();
  construct(-1);
  // Asked while the first prefetch is under way, so that no second one is started: of two that overlap, the
  // end of one may count as that of the other.
  auto answer = ask({"001000000000009"});
  loads.set_value();
  EXPECT_EQ(tests::awaited(std::move(answer)), first);
  EXPECT_EQ(service->primerState().stateCase(), State::Case::failed);
}

TEST_F(VelloraServiceIntegrationTest,
       LookupsOfAllKindsFromSeveralThreadsDuringThePrefetchAreEachAnsweredOnce) {
  constexpr int threads = 8;
  constexpr int rounds = 25;
  server->setFault("/services/data/v50.0/theme", Fault::delay(std::chrono::milliseconds(20)));
  construct();
  const auto answers = std::make_shared<Arrivals>();
  std::vector<std::thread> callers;
  for (int t = 0; t < threads; ++t) {
    callers.emplace_back([&] {
      for (int round = 0; round < rounds; ++round) {
        service->objectPresentationInfoForIds({"001000000000009", "zzz"}, [answers](const auto& infos) {
          if (infos.size() == 1) answers->add();
        });
        service->objectPresentationInfoForApiNames({"Contact", "Nonsense"}, [answers](const auto& infos) {
          if (infos.size() == 1) answers->add();
        });
        service->objectLayoutInfoForApiNames({"Account", "Case"}, [answers](const auto& layouts) {
          if (layouts->size() == 2) answers->add();
        });
      }
    });
  }
  for (auto& caller : callers) caller.join();
  answers->waitFor(threads * rounds * 3);
  service.reset();
  EXPECT_EQ(answers->count(), threads * rounds * 3);
}

TEST_F(VelloraServiceIntegrationTest, ALookupFromInsideAChangeOfTheStateIsAnswered) {
  auto loads = holdLoads();
  construct();
  const auto answers = std::make_shared<Arrivals>();
  // Told of the state twice: as it is now, and once both lists are loaded.
  const auto token = service->primerStateStream().sink([facade = service.get(), answers](const State&) {
    facade->objectPresentationInfoForIds({"001000000000009"}, [answers](const auto&) { answers->add(); });
  });
  loads.set_value();
  answers->waitFor(2);
}

TEST_F(VelloraServiceIntegrationTest,
       AServiceDestroyedWhileAChangeIsDeliveredAnswersNoLookupThatWaitedForIt) {
  auto loads = holdLoads();
  construct();
  const auto onceLoaded = [this](const std::function<void()>& action) {
    return service->primerStateStream().sink([action](const State& state) {
      if (state == State::loaded()) action();
    });
  };
  const auto delivering = std::make_shared<Arrivals>();
  const auto destroyed = std::make_shared<Arrivals>();
  const auto released = std::make_shared<Arrivals>();
  const auto delivered = std::make_shared<Arrivals>();
  const auto calls = std::make_shared<std::atomic<int>>(0);
  const auto first = onceLoaded([=] {
    delivering->add();
    destroyed->waitFor(1);
  });
  service->objectPresentationInfoForIds({"001000000000009"},
                                        [calls, until = std::shared_ptr<void>(nullptr, [released](void*) {
                                                  released->add();
                                                })](const auto&) { ++*calls; });
  // Keeps the thread that delivers inside the façade until the lookup is over, in one way or the other.
  const auto last = onceLoaded([=] {
    released->waitFor(1);
    delivered->add();
  });
  loads.set_value();
  delivering->waitFor(1);
  service.reset();
  destroyed->add();
  delivered->waitFor(1);
  EXPECT_EQ(*calls, 0);
}

TEST_F(VelloraServiceIntegrationTest,
       FacadesThatAreDestroyedWithLookupsUnderWayAnswerAtMostOnceAndLeaveNoTrace) {
  for (int round = 0; round < 30; ++round) {
    construct(round % 2 == 0 ? 3600 : 0);
    const auto calls = std::make_shared<std::atomic<int>>(0);
    std::thread caller([&] {
      for (int i = 0; i < 5; ++i) {
        service->objectPresentationInfoForIds({"001000000000009"}, [calls](const auto&) { ++*calls; });
        service->objectPresentationInfoForApiNames({"Account"}, [calls](const auto&) { ++*calls; });
      }
    });
    caller.join();
    service.reset();
    EXPECT_LE(*calls, 10);
  }
}

TEST_F(VelloraServiceIntegrationTest, ACompactLayoutsReferencesLeadToTheRelatedRecordsNames) {
  construct();
  const auto arrived = std::make_shared<Arrivals>();
  const auto paths = std::make_shared<std::vector<std::string>>();
  service->objectCompactLayoutInfoForApiNames({"Contact"}, [arrived, paths](const auto& layouts) {
    for (const auto& field : layouts->at("Contact").layoutFields) paths->push_back(field->apiName);
    arrived->add();
  });
  arrived->waitFor(1);
  EXPECT_THAT(*paths, ElementsAre("Name", "Account.Name", "Email", "Superior.Name"));
}

}  // namespace
}  // namespace vellora
