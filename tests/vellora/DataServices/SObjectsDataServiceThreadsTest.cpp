#include <chrono>
#include <future>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/Answer.h"
#include "tests/vellora/DataServices/SObjectsFixture.h"

// On the service's own queue and its threads.

namespace vellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testkit::StubNetwork;

constexpr auto patience = std::chrono::seconds(60);

class SObjectsDataServiceThreadsTest : public testing::Test {
 protected:
  /// Loads the list from a network that answers at once, and returns the thread that completed it.
  std::thread::id loaded() {
    const auto completed = std::make_shared<std::promise<std::thread::id>>();
    service->loadSObjects([completed](const auto&) { completed->set_value(std::this_thread::get_id()); });
    auto thread = completed->get_future();
    EXPECT_EQ(thread.wait_for(patience), std::future_status::ready);
    return thread.get();
  }

  tests::Answer<std::map<std::string, std::optional<SObject>>> ask(const std::vector<std::string>& names) {
    return tests::Answer(service->sObjectsForNames(names));
  }

  std::map<std::string, SObjectsDataService::TypeAndInstance> found(const std::vector<std::string>& ids) {
    return tests::Answer(service->sObjectsForIds(ids)).value().value();
  }

  SObjectsHost host;
  std::shared_ptr<SObjectsDataService> service = std::make_shared<SObjectsDataService>(host.api(), 300);
  Cancellables tokens;
};

TEST_F(SObjectsDataServiceThreadsTest, SendsALoadsRequestFromItsQueueAndCompletesWhereTheNetworkAnswers) {
  host.network->answer(listUrl, StubNetwork::body(listBody).held());
  std::thread::id completedOn;

  service->loadSObjects([&](const auto&) { completedOn = std::this_thread::get_id(); });

  ASSERT_TRUE(host.network->waitForRequests(1, patience));
  EXPECT_NE(host.network->requests().front().thread, std::this_thread::get_id());
  // Until the service has subscribed to what it sent, the answer is delivered on its queue: wait for that.
  ASSERT_TRUE(ask({}).wait(patience));
  host.network->releaseAll();
  EXPECT_EQ(completedOn, std::this_thread::get_id());
}

TEST_F(SObjectsDataServiceThreadsTest, CompletesALoadOnTheCallersThreadWhenTheCacheIsValid) {
  host.network->answer(listUrl, StubNetwork::body(listBody));
  EXPECT_NE(loaded(), std::this_thread::get_id());

  EXPECT_EQ(loaded(), std::this_thread::get_id());
}

TEST_F(SObjectsDataServiceThreadsTest, AnswersFromTheCacheOnItsQueue) {
  host.network->answer(listUrl, StubNetwork::body(listBody));
  loaded();

  const auto answer = ask({"Account"});

  ASSERT_TRUE(answer.wait(patience));
  EXPECT_NE(answer.thread(), std::this_thread::get_id());
}

TEST_F(SObjectsDataServiceThreadsTest, AnswersAfterAFetchWhereTheNetworkAnswers) {
  host.network->answer(listUrl, StubNetwork::body(listBody).held());
  const auto answer = ask({"Account"});
  ASSERT_TRUE(host.network->waitForRequests(1, patience));
  ASSERT_TRUE(ask({}).wait(patience));

  host.network->releaseAll();

  ASSERT_TRUE(answer.hasEnded());
  EXPECT_EQ(answer.thread(), std::this_thread::get_id());
}

TEST_F(SObjectsDataServiceThreadsTest, MayBeReleasedOnItsOwnQueue) {
  host.network->answer(listUrl, StubNetwork::body(listBody));
  loaded();
  const auto released = std::make_shared<std::promise<void>>();

  tokens.insert(service->sObjectsForNames({"Account"}).sink([this, released](const auto&) {
    service.reset();
    released->set_value();
  }));

  ASSERT_EQ(released->get_future().wait_for(patience), std::future_status::ready);
  // Whoever hands out the answer may have the last handle on the service, and let go of it behind the answer.
  EXPECT_TRUE(host.logger->waitFor("enforceCacheCount(), cacheEntryType: listView", patience));
}

TEST_F(SObjectsDataServiceThreadsTest, AnswersManyThreadsAtOnce) {
  host.network->answer(listUrl, StubNetwork::body(listBody));
  host.network->answerPrefix("/services/data/v50.0/query?", StubNetwork::body(listViewBody("x", "Account")));
  constexpr int perThread = 25;
  std::vector<std::thread> threads;
  for (int index = 0; index < 4; ++index) {
    threads.emplace_back([this, index] {
      for (int round = 0; round < perThread; ++round) {
        service->loadSObjects(nullptr);
        EXPECT_TRUE(ask({"Account", "Status", "Nobody"}).wait(patience));
        const std::string id = "00B" + std::to_string(index * perThread + round);
        const auto all = found({id, "001A"});
        EXPECT_EQ(all.at(id).instance, account);
        EXPECT_EQ(all.at("001A").type, account);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_THAT(host.errors(), IsEmpty());
}

TEST_F(SObjectsDataServiceThreadsTest, MayBeReleasedWhileItsQueueIsAtWork) {
  host.network->answer(listUrl, StubNetwork::body(listBody));
  for (int round = 0; round < 100; ++round) {
    service = std::make_shared<SObjectsDataService>(host.api(), 0);
    service->loadSObjects([](const auto&) {});
    tokens.insert(service->sObjectsForNames({"Nobody", "Account"}).sink([](const auto&) {}));
    service.reset();
  }
  EXPECT_THAT(host.errors(), IsEmpty());
}

TEST_F(SObjectsDataServiceThreadsTest, MayBeReleasedWhileTheNetworkAnswers) {
  host.network->answer(listUrl, StubNetwork::body(listBody).held());
  for (int round = 0; round < 100; ++round) {
    service = std::make_shared<SObjectsDataService>(host.api(), 0);
    service->loadSObjects([](const auto&) {});
    ASSERT_TRUE(host.network->waitForRequests(static_cast<std::size_t>(round) + 1, patience));
    std::thread answering([this] { host.network->releaseAll(); });
    service.reset();
    answering.join();
  }
  EXPECT_THAT(host.errors(), IsEmpty());
}

}  // namespace
}  // namespace vellora
