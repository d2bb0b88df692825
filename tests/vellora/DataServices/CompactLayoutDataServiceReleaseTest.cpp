#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "testkit/ForwardingCache.h"
#include "tests/vellora/DataServices/CompactLayoutFixture.h"

// What is left of a lookup when somebody drops the last reference to the service in the middle of it.

namespace vellora {
namespace {

using testing::ElementsAre;
using testkit::StubNetwork;
using tests::layoutsJson;
using tests::layoutsUrl;
using tests::namesJson;
using tests::namesUrl;
using tests::TestError;

/// Counts the calls to a host's facilities, and runs an action at one of them.
class HostCalls {
 public:
  void runAt(int call, std::function<void()> action) {
    count_ = 0;
    chosen_ = call;
    action_ = std::move(action);
  }
  [[nodiscard]] int count() const { return count_; }

  template <class Call>
  auto around(bool before, Call call) {
    const bool acts = ++count_ == chosen_;
    if (acts && before) action_();
    const Finally after{[this, acts, before] {
      if (acts && !before) action_();
    }};
    return call();
  }

 private:
  struct Finally {
    std::function<void()> action;
    ~Finally() { action(); }
  };

  int count_ = 0;
  int chosen_ = 0;
  std::function<void()> action_;
};

class CountedNetwork final : public CorvaneSDK::Network {
 public:
  CountedNetwork(std::shared_ptr<Network> next, HostCalls& calls, const bool& before)
      : next_(std::move(next)), calls_(calls), before_(before) {}
  void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override {
    calls_.around(before_, [&] { next_->sendRequest(request, std::move(completion)); });
  }

 private:
  const std::shared_ptr<Network> next_;
  HostCalls& calls_;
  const bool& before_;
};

class CountedLogger final : public CorvaneSDK::Logger {
 public:
  CountedLogger(std::shared_ptr<Logger> next, HostCalls& calls, const bool& before)
      : next_(std::move(next)), calls_(calls), before_(before) {}
  void log(std::string_view message, CorvaneSDK::LogLevel level) override {
    calls_.around(before_, [&] { next_->log(message, level); });
  }

 private:
  const std::shared_ptr<Logger> next_;
  HostCalls& calls_;
  const bool& before_;
};

class CountedCache final : public testkit::ForwardingCache {
 public:
  CountedCache(std::shared_ptr<Cache> next, HostCalls& calls, const bool& before)
      : ForwardingCache(std::move(next)), calls_(calls), before_(before) {}
  std::optional<Data> load(const std::string& key) override {
    return calls_.around(before_, [&] { return ForwardingCache::load(key); });
  }
  bool save(const Data& data, const std::string& key) override {
    return calls_.around(before_, [&] { return ForwardingCache::save(data, key); });
  }

 private:
  HostCalls& calls_;
  const bool& before_;
};

class CompactLayoutDataServiceReleaseTest : public tests::CompactLayoutFixture {
 protected:
  /// What is left of a lookup of Account whose service is released at host call `call`; 0 never releases.
  struct Outcome {
    std::vector<std::string> answers;
    bool isCached = false;
    int calls = 0;

    friend bool operator==(const Outcome&, const Outcome&) = default;
    friend void PrintTo(const Outcome& outcome, std::ostream* out) {
      *out << testing::PrintToString(outcome.answers) << (outcome.isCached ? ", cached, " : ", ")
           << outcome.calls;
    }
  };

  Outcome runReleasingAt(int call) {
    answers.clear();
    cache->remove("OPS_CompactLayout_Account");
    const RequiredAPI api{std::make_shared<CountedNetwork>(network, calls, before),
                          std::make_shared<CountedCache>(cache, calls, before),
                          std::make_shared<CountedLogger>(logger, calls, before)};
    service = std::make_shared<CompactLayoutDataService>(api, timeout);
    calls.runAt(call, [this] { service.reset(); });
    lookUp({"Account"});
    while (network->releaseOne()) {
    }
    EXPECT_EQ(service == nullptr, call > 0 && call <= calls.count());
    return {answers, isCached("Account"), calls.count()};
  }

  void serve(const StubNetwork::Answer& layouts, const StubNetwork::Answer& names) {
    network->answer(layoutsUrl("Account"), layouts);
    network->answer(namesUrl("'User'"), names);
  }

  bool before = true;
  HostCalls calls;
  const StubNetwork::Answer accountLayout =
      StubNetwork::body(layoutsJson("Account", {{"OwnerId", "reference", "User", "Owner"}}));
  const StubNetwork::Answer userNames = StubNetwork::body(namesJson({{"User", "Name"}}));
};

const std::vector<std::string> nobody;
const std::vector<std::string> rewritten{"Account[Owner.Name]"};
const std::vector<std::string> asSent{"Account[OwnerId]"};

TEST_F(CompactLayoutDataServiceReleaseTest, ACallThatAnswersAtOnceOutlivesItsService) {
  serve(accountLayout, userNames);
  for (const bool beforeTheCall : {true, false}) {
    before = beforeTheCall;
    // Load, miss, request, line, request, line, save.
    for (int call = 0; call <= 7; ++call)
      EXPECT_EQ(runReleasingAt(call), (Outcome{rewritten, true, 7})) << call;
  }
}

TEST_F(CompactLayoutDataServiceReleaseTest, OnceReleasedALookupIsSilentUntilItsNamesAreAnswered) {
  serve(accountLayout.held(), userNames.held());
  for (const bool beforeTheCall : {true, false}) {
    before = beforeTheCall;
    EXPECT_EQ(runReleasingAt(0), (Outcome{rewritten, true, 7}));
    // Released before the layouts have come: nothing more is sent.
    for (int call = 1; call <= 3; ++call)
      EXPECT_EQ(runReleasingAt(call), (Outcome{nobody, false, 3})) << call;
    // Released while the name query is being sent: the query goes out, and its answer is ignored.
    for (int call = 4; call <= 5; ++call)
      EXPECT_EQ(runReleasingAt(call), (Outcome{nobody, false, 5})) << call;
    // Released at the log line about the names: all that follows is silenced.
    EXPECT_EQ(runReleasingAt(6), (Outcome{nobody, false, 6}));
    EXPECT_EQ(runReleasingAt(7), (Outcome{rewritten, true, 7}));
  }
}

TEST_F(CompactLayoutDataServiceReleaseTest, AFailedDownloadIsAnsweredWithoutTheServiceButLeavesNoLine) {
  const auto check = [this](const StubNetwork::Answer& failure, const std::string& answer) {
    serve(failure.held(), userNames.held());
    const std::vector<std::string> answered{answer};
    EXPECT_EQ(runReleasingAt(0), (Outcome{answered, false, 5}));
    for (int call = 1; call <= 3; ++call)
      EXPECT_EQ(runReleasingAt(call), (Outcome{answered, false, 3})) << call;
    EXPECT_EQ(runReleasingAt(4), (Outcome{answered, false, 4}));
    EXPECT_EQ(runReleasingAt(5), (Outcome{answered, false, 5}));
  };
  for (const bool beforeTheCall : {true, false}) {
    before = beforeTheCall;
    check(StubNetwork::failure(TestError{"line down"}), " + network");
    check(StubNetwork::body("[]"), " + decoding");
  }
}

TEST_F(CompactLayoutDataServiceReleaseTest, AFailedNameQueryIsAnsweredAsSoonAsItsFailureIsLogged) {
  for (const auto& failure : {StubNetwork::failure(TestError{"line down"}), StubNetwork::body("[]")}) {
    serve(accountLayout.held(), failure.held());
    EXPECT_EQ(runReleasingAt(0), (Outcome{asSent, false, 6}));
    for (int call = 1; call <= 3; ++call)
      EXPECT_EQ(runReleasingAt(call), (Outcome{nobody, false, 3})) << call;
    for (int call = 4; call <= 5; ++call)
      EXPECT_EQ(runReleasingAt(call), (Outcome{nobody, false, 5})) << call;
    EXPECT_EQ(runReleasingAt(6), (Outcome{asSent, false, 6}));
  }
}

TEST_F(CompactLayoutDataServiceReleaseTest, ACompletionThatReleasesTheServiceKeepsItFromCaching) {
  serve(accountLayout.held(), userNames.held());
  service->compactLayoutForApiName({"Account"}, [&](const auto& layouts, const auto& error) {
    answers.push_back(tests::answerText(layouts, error));
    service.reset();
  });
  while (network->releaseOne()) {
  }
  EXPECT_EQ(service, nullptr);
  EXPECT_EQ(answers, rewritten);
  EXPECT_FALSE(isCached("Account"));
}

TEST_F(CompactLayoutDataServiceReleaseTest, ACompletionMayReleaseTheServiceInEveryOtherAnswerToo) {
  const auto releaseIn = [&](const std::string& name, const StubNetwork::Answer& layouts,
                             const StubNetwork::Answer& names) {
    service = makeService();
    serve(layouts, names);
    service->compactLayoutForApiName({name}, [&](const auto& found, const auto& error) {
      service.reset();
      answers.push_back(tests::answerText(found, error));
    });
    while (network->releaseOne()) {
    }
    EXPECT_EQ(service, nullptr);
  };
  cacheLayout("Contact", 0);
  releaseIn("Contact", accountLayout, userNames);
  releaseIn("Account", StubNetwork::nothing().held(), userNames);
  releaseIn("Account", accountLayout.held(), StubNetwork::nothing().held());
  EXPECT_THAT(answers, ElementsAre("Contact[]", " + network", "Account[OwnerId]"));
}

TEST_F(CompactLayoutDataServiceReleaseTest, ReleasingTheServiceLetsGoOfAllThatTheCallerHandedIn) {
  serve(accountLayout.held(), userNames.held());
  auto held = std::make_shared<int>(7);
  const std::weak_ptr<int> watched = held;
  service->compactLayoutForApiName({"Account"}, [held = std::move(held)](const auto&, const auto&) {});
  ASSERT_TRUE(network->releaseOne());
  EXPECT_FALSE(watched.expired());
  service.reset();
  EXPECT_TRUE(watched.expired()) << "while the network still holds the name query";
  EXPECT_EQ(network->held(), 1U);
}

TEST_F(CompactLayoutDataServiceReleaseTest,
       ReleasedAtTheLineAboutTheNamesWhatEachLayoutDownloadsIsNotCached) {
  serve(accountLayout.held(), userNames.held());
  before = false;
  const auto names = std::make_shared<const std::vector<std::string>>(1, "Account");
  // Load, request, line, request, line, names.
  for (int call = 4; call <= 5; ++call) {
    cache->remove("OPS_CompactLayout_Account");
    const RequiredAPI api{std::make_shared<CountedNetwork>(network, calls, before),
                          std::make_shared<CountedCache>(cache, calls, before),
                          std::make_shared<CountedLogger>(logger, calls, before)};
    service = std::make_shared<CompactLayoutDataService>(api, timeout);
    calls.runAt(call, [this] { service.reset(); });
    const auto token = service->eachLayout(names, Source::cacheFirst).sink([](const auto&) {});
    while (network->releaseOne()) {
    }
    EXPECT_EQ(service, nullptr) << call;
    EXPECT_EQ(calls.count(), call);
    EXPECT_FALSE(isCached("Account")) << call;
  }
}

TEST_F(CompactLayoutDataServiceReleaseTest, AnAnsweredLookupLeavesNothingOfTheCallersBehind) {
  serve(accountLayout, userNames);
  auto held = std::make_shared<int>(7);
  const std::weak_ptr<int> watched = held;
  service->compactLayoutForApiName({"Account"}, [held = std::move(held)](const auto&, const auto&) {});
  EXPECT_TRUE(watched.expired());
}

}  // namespace
}  // namespace vellora
