#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

#include "tests/vellora/DataServices/CompactLayoutFixture.h"

// Lookups that begin while others are being answered, and downloads that arrive on several threads.

namespace vellora {
namespace {

using testing::ElementsAre;
using testkit::StubNetwork;
using tests::downloads;
using tests::SampleDownload;

class CompactLayoutDataServiceOverlapTest : public tests::CompactLayoutFixture {
 protected:
  void serve(const SampleDownload& download, bool namesAreHeld) {
    network->answer(download.layoutsUrl, StubNetwork::body(download.layouts));
    const auto names = StubNetwork::body(download.names);
    network->answer(download.namesUrl, namesAreHeld ? names.held() : names);
  }

  const SampleDownload& first = downloads[0];
  const SampleDownload& second = downloads[2];
};

TEST_F(CompactLayoutDataServiceOverlapTest, ADownloadWhoseNamesAreAnsweredAtOnceSilencesTheOneThatWaits) {
  serve(first, true);
  serve(second, false);
  lookUp({"Account"});
  lookUp({"Order"});
  EXPECT_THAT(answers, ElementsAre("Order[Invoice.Number]"));
  EXPECT_EQ(network->releaseAll(), 1U);
  EXPECT_THAT(answers, ElementsAre("Order[Invoice.Number]"));
  EXPECT_FALSE(isCached("Account"));
}

TEST_F(CompactLayoutDataServiceOverlapTest, ALookupFromInsideAnAnswerThatCameAtOnceIsAnsweredToo) {
  serve(first, false);
  serve(second, true);
  service->compactLayoutForApiName({"Account"}, [&](const auto& layouts, const auto& error) {
    answers.push_back(tests::answerText(layouts, error));
    lookUp({"Order"});
  });
  EXPECT_THAT(answers, ElementsAre("Account[Owner.Name]"));
  network->releaseAll();
  EXPECT_THAT(answers, ElementsAre("Account[Owner.Name]", "Order[Invoice.Number]"));
  EXPECT_TRUE(isCached("Account"));
  EXPECT_TRUE(isCached("Order"));
}

TEST_F(CompactLayoutDataServiceOverlapTest, LookupsFromInsideAnswersAreAllAnsweredWhenEverythingComesAtOnce) {
  serve(first, false);
  serve(second, false);
  service->compactLayoutForApiName({"Account"}, [&](const auto&, const auto&) { lookUp({"Order"}); });
  EXPECT_THAT(answers, ElementsAre("Order[Invoice.Number]"));
  EXPECT_TRUE(isCached("Account"));
  EXPECT_TRUE(isCached("Order"));
}

TEST_F(CompactLayoutDataServiceOverlapTest, ALookupAfterASilencedOneIsAnswered) {
  serve(first, true);
  serve(second, true);
  lookUp({"Account"});
  lookUp({"Order"});
  network->releaseAll();
  lookUp({"Account"});
  network->releaseAll();
  EXPECT_THAT(answers, ElementsAre("Order[Invoice.Number]", "Account[Owner.Name]"));
}

/// Answers of a lookup, counted from whatever thread they come.
struct Counted {
  std::atomic<int> answers = 0;
  CompactLayoutDataService::Completion completion() {
    return [this](const auto&, const auto&) { ++answers; };
  }
};

TEST_F(CompactLayoutDataServiceOverlapTest, OfDownloadsThatArriveOnTwoThreadsTheNewestNameQueryIsAnswered) {
  for (int round = 0; round < 100; ++round) {
    service = makeService(-1);  // every cached layout is expired
    network->answer(first.layoutsUrl, StubNetwork::body(first.layouts).held());
    network->answer(first.namesUrl, StubNetwork::body(first.names).held());
    network->answer(second.layoutsUrl, StubNetwork::body(second.layouts).held());
    network->answer(second.namesUrl, StubNetwork::body(second.names).held());
    Counted ofAccount;
    Counted ofOrder;
    service->compactLayoutForApiName({"Account"}, ofAccount.completion());
    service->compactLayoutForApiName({"Order"}, ofOrder.completion());
    const auto arrive = [this](const SampleDownload& download) {
      EXPECT_EQ(network->release(download.layoutsUrl), 1U);
      EXPECT_EQ(network->release(download.namesUrl), 1U);
    };
    std::thread firstThread([&] { arrive(first); });
    std::thread secondThread([&] { arrive(second); });
    firstThread.join();
    secondThread.join();
    EXPECT_LE(ofAccount.answers, 1);
    EXPECT_LE(ofOrder.answers, 1);
    EXPECT_GE(ofAccount.answers + ofOrder.answers, 1);
  }
}

TEST_F(CompactLayoutDataServiceOverlapTest, AServiceReleasedWhileItsDownloadsArriveAnswersAtMostOnce) {
  for (int round = 0; round < 100; ++round) {
    service = makeService(-1);
    network->answer(first.layoutsUrl, StubNetwork::body(first.layouts).held());
    network->answer(first.namesUrl, StubNetwork::body(first.names).held());
    Counted ofAccount;
    service->compactLayoutForApiName({"Account"}, ofAccount.completion());
    std::thread networkThread([&] {
      while (network->releaseOne()) {
      }
    });
    service.reset();
    networkThread.join();
    EXPECT_LE(ofAccount.answers, 1);
  }
}

}  // namespace
}  // namespace vellora
