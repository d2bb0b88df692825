#include "vellora/Catalog/Reporter.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <new>
#include <utility>

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
  for (std::size_t i = 0; i < Reporter::most; ++i) report();
  queues.runAll();
  EXPECT_EQ(observer->told, 2 * Reporter::most) << "there is as much room as before";
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

/// Closes the gate, as the destructor of a catalogue does, when it is told that reports were dropped.
class Closing final : public CatalogObserver {
 public:
  explicit Closing(std::shared_ptr<CallbackGate> gate) : gate_(std::move(gate)) {}
  void questionEnded(const QuestionReport&) override { ++told; }
  void reportsDropped(std::size_t) override { gate_->close(); }

  int told = 0;

 private:
  const std::shared_ptr<CallbackGate> gate_;
};

TEST_F(ReporterTest, TellsNothingOnceTheCatalogueWasDestroyedWhereReportsWereDropped) {
  const auto closing = std::make_shared<Closing>(gate);
  const auto to = std::make_shared<Reporter>(closing, false, gate);
  to->report<QuestionReport>(&CatalogObserver::questionEnded,
                             []() -> QuestionReport { throw std::bad_alloc(); });
  to->report<QuestionReport>(&CatalogObserver::questionEnded, [] { return QuestionReport(); });
  queues.runAll();
  EXPECT_TRUE(gate->isClosed());
  EXPECT_EQ(closing->told, 0);
}

}  // namespace
}  // namespace vellora
