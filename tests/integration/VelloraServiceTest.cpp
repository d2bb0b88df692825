#include "vellora/Services/VelloraService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "apps/records-server/RecordsServer.h"
#include "hostkit/StandardPlatformAPI.h"
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
    service.emplace(
        host.value(), cacheTimeout, "light",
        std::make_shared<SerialDispatchQueue>(std::string(VelloraService::Constants::queueLabel)));
  }

  Infos lookUp(const std::vector<std::string>& ids) {
    const auto arrived = std::make_shared<Arrivals>();
    const auto infos = std::make_shared<Infos>();
    service->objectPresentationInfoForIds(ids, [arrived, infos](Infos answer) {
      *infos = std::move(answer);
      arrived->add();
    });
    arrived->waitFor(1);
    return *infos;
  }

  const tests::TemporaryFolder folder;
  std::unique_ptr<RecordsServer> server;
  std::optional<VelloraService> service;
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
  construct(-1);
  EXPECT_EQ(lookUp({"001000000000009"}), first);
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
  construct();
  const auto answers = std::make_shared<Arrivals>();
  const auto asked = std::make_shared<std::atomic<int>>(0);
  const auto token = service->primerStateStream().sink([&, asked, answers](const State&) {
    if (asked->fetch_add(1) < 3) {
      service->objectPresentationInfoForIds({"001000000000009"}, [answers](const auto&) { answers->add(); });
    }
  });
  answers->waitFor(std::max(1, asked->load() < 3 ? asked->load() : 3));
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
