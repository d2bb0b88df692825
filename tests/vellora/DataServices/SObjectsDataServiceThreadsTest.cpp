#include <future>
#include <thread>

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

  std::future<std::thread::id> threadOfNames(const std::vector<std::string>& names) {
    const auto answered = std::make_shared<std::promise<std::thread::id>>();
    tokens.insert(service->sObjectsForNames(names).sink(
        [answered](const auto&) { answered->set_value(std::this_thread::get_id()); }));
    return answered->get_future();
  }

  std::map<std::string, SObjectsDataService::TypeAndInstance> found(const std::vector<std::string>& ids) {
    using Found = std::map<std::string, SObjectsDataService::TypeAndInstance>;
    const auto answered = std::make_shared<std::promise<Found>>();
    tokens.insert(
        service->sObjectsForIds(ids).sink([answered](const Found& all) { answered->set_value(all); }));
    return answered->get_future().get();
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
  ASSERT_EQ(threadOfNames({}).wait_for(patience), std::future_status::ready);
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

  auto thread = threadOfNames({"Account"});

  ASSERT_EQ(thread.wait_for(patience), std::future_status::ready);
  EXPECT_NE(thread.get(), std::this_thread::get_id());
}

TEST_F(SObjectsDataServiceThreadsTest, AnswersAfterAFetchWhereTheNetworkAnswers) {
  host.network->answer(listUrl, StubNetwork::body(listBody).held());
  auto thread = threadOfNames({"Account"});
  ASSERT_TRUE(host.network->waitForRequests(1, patience));
  ASSERT_EQ(threadOfNames({}).wait_for(patience), std::future_status::ready);

  host.network->releaseAll();

  ASSERT_EQ(thread.wait_for(std::chrono::seconds(0)), std::future_status::ready);
  EXPECT_EQ(thread.get(), std::this_thread::get_id());
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
  EXPECT_TRUE(host.logger->contains("enforceCacheCount(), cacheEntryType: listView"));
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
        auto names = threadOfNames({"Account", "Status", "Nobody"});
        EXPECT_EQ(names.wait_for(patience), std::future_status::ready);
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
    threadOfNames({"Nobody", "Account"});
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
