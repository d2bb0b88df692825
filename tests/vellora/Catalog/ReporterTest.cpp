#include "vellora/Catalog/Reporter.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <new>

#include "tests/support/ManualQueues.h"

namespace vellora {
namespace {

class Counting final : public CatalogObserver {
 public:
  void questionEnded(const QuestionReport&) override { ++told; }
  void reportsDropped(std::size_t count) override { dropped += count; }

  std::size_t told = 0;
  std::size_t dropped = 0;
};

class ReporterTest : public testing::Test {
 protected:
  void report() {
    reporter->report<QuestionReport>(&CatalogObserver::questionEnded, [] { return QuestionReport(); });
  }

  tests::ManualQueues queues;
  const std::shared_ptr<Counting> observer = std::make_shared<Counting>();
  const std::shared_ptr<CallbackGate> gate = std::make_shared<CallbackGate>();
  const std::shared_ptr<Reporter> reporter = std::make_shared<Reporter>(observer, false, gate);
};

TEST_F(ReporterTest, DropsWhatIsTooMuchForASlowObserverAndSaysHowMuch) {
  for (std::size_t i = 0; i < Reporter::most + 3; ++i) report();
  EXPECT_EQ(queues.runAll(), Reporter::most);
  EXPECT_EQ(observer->told, Reporter::most);
  EXPECT_EQ(observer->dropped, 3U);
  report();
  queues.runAll();
  EXPECT_EQ(observer->told, Reporter::most + 1);
  EXPECT_EQ(observer->dropped, 3U);
}

TEST_F(ReporterTest, AReportWithoutMemoryIsDroppedAndCounted) {
  reporter->report<QuestionReport>(&CatalogObserver::questionEnded,
                                   []() -> QuestionReport { throw std::bad_alloc(); });
  report();
  queues.runAll();
  EXPECT_EQ(observer->told, 1U);
  EXPECT_EQ(observer->dropped, 1U);
}

TEST_F(ReporterTest, NothingPassesAClosedGate) {
  report();
  gate->close();
  queues.runAll();
  EXPECT_EQ(observer->told, 0U);
}

}  // namespace
}  // namespace vellora
