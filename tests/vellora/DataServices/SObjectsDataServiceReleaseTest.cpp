#include <algorithm>
#include <functional>

#include "tests/support/ListenedHost.h"
#include "tests/support/ManualQueues.h"
#include "tests/vellora/DataServices/SObjectsFixture.h"

// What is left of the work under way when the service is released, at each moment at which that may happen.

namespace vellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testkit::StubNetwork;

constexpr const char* lastLine = "log enforceCacheCount(), cacheEntryType: listView, rows.count: ";

/// The calls on the host in their order. One of them may be told to release the service.
class Calls {
 public:
  void releaseAt(std::size_t call, std::function<void()> release) {
    at_ = call;
    release_ = std::move(release);
  }
  void add(std::string call) {
    calls_.push_back(std::move(call));
    if (calls_.size() == at_) release_();
  }
  void clear() { calls_.clear(); }
  [[nodiscard]] const std::vector<std::string>& all() const { return calls_; }

 private:
  std::vector<std::string> calls_;
  std::size_t at_ = 0;
  std::function<void()> release_;
};

using CallsPtr = std::shared_ptr<Calls>;

/// One life of a service whose host's calls are watched, up to the end of one piece of work.
class Life {
 public:
  enum class Cached { nothing, list };

  explicit Life(Cached cached, StubNetwork::Answer listAnswer = StubNetwork::body(listBody)) {
    network->answer(queryUrl("00B1"), StubNetwork::body(listViewBody("00B1", "Account")).held());
    network->answer(listUrl, StubNetwork::body(listBody));
    if (cached == Cached::list) load();
    network->answer(listUrl, listAnswer.held());
    answered = false;
    calls->clear();
  }

  void lookUpNames(std::vector<std::string> names) {
    token = service->sObjectsForNames(std::move(names))
                .sink([this](const auto&) { answered = true; },
                      [this](const auto& end) {
                        ended = true;
                        failed = end.has_value();
                      });
  }

  void lookUpIds(std::vector<std::string> ids) {
    token = service->sObjectsForIds(std::move(ids))
                .sink([this](const auto&) { answered = true; },
                      [this](const auto& end) {
                        ended = true;
                        failed = end.has_value();
                      });
  }

  void load() {
    service->loadSObjects([this](const auto& error) {
      answered = true;
      failed = error.has_value();
    });
    queues.runAll();
  }

  /// Runs what is to run and delivers what the server has answered, until nothing is left to do.
  void finish() {
    while (queues.runAll() + network->releaseAll() > 0) {
    }
  }

  /// The calls since the service was destroyed; what the purge did is not counted.
  [[nodiscard]] std::vector<std::string> callsAfterItsEnd() const {
    const auto& all = calls->all();
    for (std::size_t index = 0; index < all.size(); ++index) {
      if (all[index].starts_with(lastLine))
        return {all.begin() + static_cast<std::ptrdiff_t>(index) + 1, all.end()};
    }
    return {"the service is alive"};
  }

  [[nodiscard]] bool called(const std::string& call) const {
    return std::find(calls->all().begin(), calls->all().end(), call) != calls->all().end();
  }

  tests::ManualQueues queues;
  CallsPtr calls = std::make_shared<Calls>();
  std::shared_ptr<StubNetwork> network = std::make_shared<StubNetwork>();
  std::shared_ptr<SObjectsDataService> service = std::make_shared<SObjectsDataService>(
      tests::listenedHost(network, std::make_shared<hostkit::MemoryCache>(),
                          [calls = calls](const std::string& call) { calls->add(call); }),
      300);
  AnyCancellable token;
  bool answered = false;
  bool ended = false;
  bool failed = false;
};

using Work = std::function<void(Life&)>;

/// Runs `work` once for each call on the host that it makes, with that call releasing the service. Gives 'A'
/// for each run that was answered all the same, else '-'. Checks that nothing is called after the end of the
/// service.
std::string answersWhenReleasedAtEachCall(Life::Cached cached, const Work& work) {
  std::size_t count = 0;
  {
    Life undisturbed(cached);
    work(undisturbed);
    undisturbed.finish();
    count = undisturbed.calls->all().size();
    EXPECT_TRUE(undisturbed.answered);
  }
  std::string answers;
  for (std::size_t call = 1; call <= count; ++call) {
    Life life(cached);
    life.calls->releaseAt(call, [&life] { life.service.reset(); });
    work(life);
    life.finish();
    EXPECT_THAT(life.callsAfterItsEnd(), IsEmpty())
        << "released at call " << call << ": " << life.calls->all()[call - 1];
    answers += life.answered ? 'A' : '-';
  }
  return answers;
}

TEST(SObjectsDataServiceReleaseTest, ALookupOfANameInTheListIsAnsweredOnceItsStepHasBegun) {
  // One step makes all calls and keeps the service until it is done: the row's read, its line, the list, …
  EXPECT_EQ(
      answersWhenReleasedAtEachCall(Life::Cached::list, [](Life& life) { life.lookUpNames({"Account"}); }),
      "AAAAAAA");
}

TEST(SObjectsDataServiceReleaseTest, ALookupOfTwoNamesIsSilentWhenTheSecondStepHasNotBegun) {
  // Six calls for the first name, six for the second, and a line for each.
  EXPECT_EQ(answersWhenReleasedAtEachCall(Life::Cached::list,
                                          [](Life& life) {
                                            life.lookUpNames({"Account", "Contact"});
                                          }),
            "------AAAAAAAA");
}

TEST(SObjectsDataServiceReleaseTest, ALookupOfAnIdInTheListIsAnsweredOnceItsStepHasBegun) {
  EXPECT_EQ(answersWhenReleasedAtEachCall(Life::Cached::list, [](Life& life) { life.lookUpIds({"001A"}); }),
            "AAAAAAAAAAAAAA");
}

TEST(SObjectsDataServiceReleaseTest, ALookupThatHasToFetchTheListIsAnsweredOnceItsRequestIsSent) {
  // The step's line and two reads; the request is a step of its own.
  EXPECT_EQ(
      answersWhenReleasedAtEachCall(Life::Cached::nothing, [](Life& life) { life.lookUpNames({"Account"}); }),
      "---AAAAAAAAAA");
}

TEST(SObjectsDataServiceReleaseTest, ALookupOfAListViewIsAnsweredOnceItsLastStepHasBegun) {
  // Fifteen calls up to the request; then the request, the row of its answer, and two lines. Without the
  // service the entry of the type that the server named cannot be looked up.
  EXPECT_EQ(answersWhenReleasedAtEachCall(Life::Cached::list, [](Life& life) { life.lookUpIds({"00B1"}); }),
            "-------------------AAAAAAA");
}

TEST(SObjectsDataServiceReleaseTest, ALoadIsCancelledUnlessItIsAtItsEnd) {
  EXPECT_EQ(answersWhenReleasedAtEachCall(Life::Cached::nothing, [](Life& life) { life.load(); }),
            "----------A");
}

TEST(SObjectsDataServiceReleaseTest, NothingIsLookedUpWhenItGoesBeforeTheQueuesFirstPiece) {
  Life life(Life::Cached::list);
  life.lookUpNames({"Account"});

  life.service.reset();
  life.finish();

  EXPECT_THAT(life.callsAfterItsEnd(), IsEmpty());
  EXPECT_FALSE(life.called("log sObjectForName(_:), name: Account"));
  EXPECT_FALSE(life.answered || life.ended);
}

TEST(SObjectsDataServiceReleaseTest, NoFurtherNameIsLookedUpWhenItGoesBetweenTwoPieces) {
  Life life(Life::Cached::list);
  life.lookUpNames({"Account", "Contact"});
  life.queues.runNext();

  life.service.reset();
  life.finish();

  EXPECT_TRUE(life.called("log sObjectForName(_:), name: Account"));
  EXPECT_FALSE(life.called("log sObjectForName(_:), name: Contact"));
  EXPECT_FALSE(life.answered || life.ended);
}

TEST(SObjectsDataServiceReleaseTest, WhatWasLookedUpIsAnsweredWithoutALineWhenItGoesBeforeTheLastPiece) {
  Life life(Life::Cached::list);
  life.lookUpNames({"Account"});
  life.queues.runNext();

  life.service.reset();
  life.finish();

  EXPECT_TRUE(life.answered && life.ended);
  EXPECT_THAT(life.callsAfterItsEnd(), IsEmpty());
}

TEST(SObjectsDataServiceReleaseTest, AFetchUnderWayAnswersButIsNeitherSavedNorLogged) {
  Life life(Life::Cached::nothing);
  life.lookUpNames({"Account"});
  life.queues.runAll();
  ASSERT_EQ(life.network->held(), 1U);

  life.service.reset();
  life.finish();

  EXPECT_TRUE(life.answered && life.ended);
  EXPECT_THAT(life.callsAfterItsEnd(), IsEmpty());
}

TEST(SObjectsDataServiceReleaseTest, AFailureOfAFetchUnderWayIsPassedOnUnlogged) {
  Life life(Life::Cached::nothing, StubNetwork::nothing());
  life.lookUpNames({"Account"});
  life.queues.runAll();

  life.service.reset();
  life.finish();

  EXPECT_TRUE(life.ended && life.failed);
  EXPECT_FALSE(life.answered);
  EXPECT_THAT(life.callsAfterItsEnd(), IsEmpty());
}

TEST(SObjectsDataServiceReleaseTest, AListViewsQueryUnderWayIsNeitherSavedNorFollowedUp) {
  Life life(Life::Cached::list);
  life.lookUpIds({"00B1"});
  life.queues.runAll();
  ASSERT_EQ(life.network->held(), 1U);

  life.service.reset();
  life.finish();

  EXPECT_FALSE(life.answered || life.ended);
  EXPECT_THAT(life.callsAfterItsEnd(), IsEmpty());
}

TEST(SObjectsDataServiceReleaseTest, ALoadThatWaitsForItsQueueIsCancelled) {
  Life life(Life::Cached::nothing);
  life.service->loadSObjects([&life](const auto&) { life.answered = true; });

  life.service.reset();
  life.finish();

  EXPECT_FALSE(life.called("sendRequest"));
  EXPECT_FALSE(life.answered);
}

TEST(SObjectsDataServiceReleaseTest, ALoadUnderWayIsCancelled) {
  Life life(Life::Cached::nothing);
  life.load();
  ASSERT_EQ(life.network->held(), 1U);

  life.service.reset();
  life.finish();

  EXPECT_FALSE(life.answered);
  EXPECT_THAT(life.callsAfterItsEnd(), IsEmpty());
}

TEST(SObjectsDataServiceReleaseTest, ALoadsCompletionMayLetGoOfIt) {
  Life life(Life::Cached::nothing);
  life.service->loadSObjects([&life](const auto&) {
    life.service.reset();
    life.answered = true;
  });
  life.finish();
  EXPECT_TRUE(life.answered);
  EXPECT_THAT(life.callsAfterItsEnd(), IsEmpty());
}

TEST(SObjectsDataServiceReleaseTest, ALoadsCompletionThatLetsGoOfItDestroysIt) {
  for (const auto& answer : {StubNetwork::body(listBody), StubNetwork::nothing()}) {
    Life life(Life::Cached::nothing, answer);
    const std::weak_ptr<SObjectsDataService> weak = life.service;
    bool destroyed = false;
    life.service->loadSObjects([&](const auto&) {
      life.service.reset();
      destroyed = weak.expired();
    });

    life.finish();

    EXPECT_TRUE(destroyed);
  }
}

TEST(SObjectsDataServiceReleaseTest, ACompletionInsideTheCallMayLetGoOfItToo) {
  Life life(Life::Cached::list);
  life.service->loadSObjects([&life](const auto&) { life.service.reset(); });
  EXPECT_THAT(life.callsAfterItsEnd(), IsEmpty());
}

TEST(SObjectsDataServiceReleaseTest, ALookupsAnswerMayLetGoOfIt) {
  Life life(Life::Cached::list);
  life.token = life.service->sObjectsForIds({"001A"}).sink([&life](const auto&) { life.service.reset(); });
  life.finish();
  EXPECT_THAT(life.callsAfterItsEnd(), IsEmpty());
}

TEST(SObjectsDataServiceReleaseTest, ALookupThatIsCancelledDoesNothingFurther) {
  Life life(Life::Cached::list);
  life.lookUpIds({"00B1", "001A"});
  life.queues.runNext();

  life.token.cancel();
  life.finish();

  EXPECT_FALSE(life.answered || life.ended);
  EXPECT_FALSE(life.called("log sObjectForName(_:), name: Account"));
  EXPECT_FALSE(life.called("upsert listView"));
}

TEST(SObjectsDataServiceReleaseTest, IsNotKeptByALookupUnderWay) {
  Life life(Life::Cached::list);
  life.lookUpIds({"00B1"});
  life.queues.runAll();
  const std::weak_ptr<SObjectsDataService> weak = life.service;

  life.service.reset();

  EXPECT_TRUE(weak.expired());
}

}  // namespace
}  // namespace vellora
