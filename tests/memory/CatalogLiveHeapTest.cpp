#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <iostream>
#include <string>
#include <utility>

#include "tests/memory/SteppedCatalog.h"
#include "tests/support/LongForm.h"

// One catalogue answers question after question. None may leave a byte on the heap.

namespace vellora {
namespace {

using namespace std::chrono_literals;

class CatalogLiveHeapTest : public testing::Test {
 protected:
  CatalogLiveHeapTest() {
    stage.construct();
    stage.settle();
  }

  /// Waits with a callback until the question has ended, at its deadline at the latest.
  template <class T>
  void finish(Question<T> question) {
    const auto token = std::move(question).then([this](const auto& answer) {
      ++answers;
      timeOuts += answer.end == End::timedOut ? 1 : 0;
    });
    stage.settle();
  }

  /// `ask`, many times, answers and leaves nothing.
  void expectNothingLeft(const std::string& what, const std::function<void()>& ask) {
    const auto questions =
        static_cast<std::size_t>(tests::longForm("VELLORA_TEST_LOOKUPS").value_or(4000)) / 4;
    for (int i = 0; i < 100; ++i) ask();
    const auto before = tests::LiveMemory::now();
    answers = 0;
    for (std::size_t i = 0; i < questions; ++i) ask();
    const auto after = tests::LiveMemory::now();
    const auto grown = [](std::size_t now, std::size_t then) {
      return static_cast<std::ptrdiff_t>(now) - static_cast<std::ptrdiff_t>(then);
    };
    EXPECT_EQ(grown(after.blocks, before.blocks), 0) << what;
    EXPECT_EQ(grown(after.bytes, before.bytes), 0) << what;
    EXPECT_EQ(stage.timer->pending(), 0U) << what;
    std::cout << "left by " << questions << " " << what << ": " << grown(after.bytes, before.bytes)
              << " bytes, " << grown(after.blocks, before.blocks) << " blocks\n";
  }

  tests::SteppedCatalog stage;
  std::size_t answers = 0;
  std::size_t timeOuts = 0;
};

TEST_F(CatalogLiveHeapTest, AFinishedQuestionOfAnyKindLeavesNothing) {
  const auto& catalog = *stage.catalog;
  expectNothingLeft("questions for records", [&] {
    finish(catalog.records({"001a", "00Baccounts", "zzz", ""}));
  });
  EXPECT_GT(answers, 0U);
  expectNothingLeft("questions for types", [&] { finish(catalog.types({"Account", "Nothing"})); });
  expectNothingLeft("questions for all types", [&] { finish(catalog.allTypes()); });
  expectNothingLeft("questions for columns", [&] { finish(catalog.searchColumns({"Account", "Order"})); });
  expectNothingLeft("questions for headlines", [&] { finish(catalog.headlines({"Account", "Order"})); });
}

TEST_F(CatalogLiveHeapTest, AQuestionThatIsGivenUpLeavesNothing) {
  expectNothingLeft("questions that are dropped", [&] {
    static_cast<void>(stage.catalog->records({"001a"}));
    stage.settle();
  });
  expectNothingLeft("questions that are cancelled half-way", [&] {
    auto token = stage.catalog->records({"001a"}).then([this](const auto&) { ++answers; });
    stage.queues.runNext();
    token.cancel();
    stage.settle();
  });
  EXPECT_EQ(answers, 0U);
}

TEST_F(CatalogLiveHeapTest, AQuestionThatTimesOutLeavesNothingOnceItsRequestHasEnded) {
  expectNothingLeft("questions that time out", [&] {
    const auto token = stage.catalog->records({"00Bnobody"}, {.deadline = 1s, .source = Source::serverFirst})
                           .then([this](const auto& answer) {
                             ++answers;
                             timeOuts += answer.end == End::timedOut ? 1 : 0;
                           });
    stage.queues.runAll();
    stage.timer->advance(1s);
    stage.answers->runAll();
    stage.host.network().dropAll();
    stage.settle();
  });
  EXPECT_GT(timeOuts, 0U);
}

}  // namespace
}  // namespace vellora
