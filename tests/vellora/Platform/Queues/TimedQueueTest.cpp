#include "vellora/Platform/Queues/TimedQueue.h"

#include <gtest/gtest.h>
#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <future>
#include <latch>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/NoMoreThreads.h"
#include "vellora/Platform/Queues/DispatchQueue.h"

namespace vellora {
namespace {

using namespace std::chrono_literals;

/// The order in which three pieces of work run: 3 is asked for first, and is due a `step` behind 1 and 2. No
/// value where the asking took so long that 3 may have come first with right.
std::optional<std::vector<int>> orderOfThree(TimedQueue::Delay step) {
  const auto& timer = TimedQueue::system();
  std::vector<int> order;  // not synchronised, because one thread runs all of it
  std::promise<void> done;
  const auto note = [&](int number) {
    return [&order, &done, number] {
      order.push_back(number);
      if (order.size() == 3) done.set_value();
    };
  };
  const auto start = timer->time();
  static_cast<void>(timer->after(2 * step, note(3)));
  static_cast<void>(timer->after(step, note(1)));
  static_cast<void>(timer->after(step, note(2)));
  const bool isCertain = timer->time() - start < step;
  done.get_future().wait();
  EXPECT_GE(timer->time() - start, 2 * step);
  return isCertain ? std::optional(order) : std::nullopt;
}

TEST(TimedQueueTest, RunsWorkOnceItsTimeHasComeInTheOrderOfTheMoments) {
  std::optional<std::vector<int>> order;
  for (TimedQueue::Delay step = 20ms; !order; step *= 2) order = orderOfThree(step);
  EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(TimedQueueTest, TellsHowMuchTimeHasPassed) {
  const auto& timer = TimedQueue::system();
  const auto start = timer->time();
  std::promise<TimedQueue::Delay> end;
  static_cast<void>(timer->after(5ms, [&] { end.set_value(timer->time()); }));
  EXPECT_GE(end.get_future().get() - start, 5ms);
}

TEST(TimedQueueTest, ALaterMomentDoesNotKeepAnEarlierOneWaiting) {
  const auto& timer = TimedQueue::system();
  const auto late = timer->after(1h, [] {});
  std::promise<void> done;
  static_cast<void>(timer->after(0s, [&] { done.set_value(); }));
  done.get_future().wait();
  timer->cancel(late);
}

/// How often that thread of this process has gone to sleep.
long sleepsOf(pid_t thread) {
  std::ifstream status("/proc/self/task/" + std::to_string(thread) + "/status");
  const std::string name = "voluntary_ctxt_switches:";
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(name)) return std::stol(line.substr(name.size()));
  }
  return -1;
}

TEST(TimedQueueTest, DeadlinesThatAreCancelledInTimeDoNotWakeItsThread) {
  const auto& timer = TimedQueue::system();
  std::promise<pid_t> thread;
  static_cast<void>(timer->after(0s, [&] { thread.set_value(gettid()); }));
  const pid_t id = thread.get_future().get();
  const long before = sleepsOf(id);
  ASSERT_GE(before, 0);
  for (int i = 0; i < 2'000; ++i) timer->cancel(timer->after(1h, [] {}));
  EXPECT_LT(sleepsOf(id) - before, 100);
}

TEST(TimedQueueTest, TenThousandDeadlinesTakeOneThread) {
  constexpr int count = 10'000;
  const auto& timer = TimedQueue::system();
  std::latch all(count);
  std::atomic<int> others = 0;
  std::atomic<std::thread::id> first;
  for (int i = 0; i < count; ++i) {
    static_cast<void>(timer->after(1ms, [&] {
      std::thread::id none;
      const auto here = std::this_thread::get_id();
      if (!first.compare_exchange_strong(none, here) && first.load() != here) ++others;
      all.count_down();
    }));
  }
  all.wait();
  EXPECT_EQ(others, 0);
}

TEST(TimedQueueTest, ItsThreadIsNoneOfThePool) {
  std::promise<bool> onPool;
  static_cast<void>(TimedQueue::system()->after(
      0s, [&] { onPool.set_value(DispatchQueue::global(DispatchQoS::unspecified)->runsHere()); }));
  EXPECT_FALSE(onPool.get_future().get());
}

TEST(TimedQueueTest, CancelledWorkIsLetGoAtOnceAndNeverRuns) {
  const auto& timer = TimedQueue::system();
  const auto captured = std::make_shared<int>();
  const auto alarm = timer->after(1h, [captured] { FAIL() << "cancelled"; });
  EXPECT_EQ(captured.use_count(), 2);
  timer->cancel(alarm);
  EXPECT_EQ(captured.use_count(), 1);
  timer->cancel(alarm);  // a second time is no harm
}

TEST(TimedQueueTest, WorkMayAskForMoreAndMayRunOutOfMemory) {
  const auto& timer = TimedQueue::system();
  std::promise<void> done;
  static_cast<void>(timer->after(0s, [&] {
    static_cast<void>(timer->after(0s, [&] { done.set_value(); }));
    throw std::bad_alloc();
  }));
  done.get_future().wait();
  SUCCEED() << "the thread has gone on";
}

TEST(TimedQueueTest, ADelayStaysBetweenNothingAndAYear) {
  const TimedQueue::Delay year = 365 * 24h;
  EXPECT_EQ(TimedQueue::bounded(-1s), 0s);
  EXPECT_EQ(TimedQueue::bounded(5s), 5s);
  EXPECT_EQ(TimedQueue::bounded(TimedQueue::Delay(std::numeric_limits<double>::infinity())), year);
  EXPECT_EQ(TimedQueue::bounded(TimedQueue::Delay(std::nan(""))), year);
}

TEST(TimedQueueTest, KnowsItsThread) {
  const auto& timer = TimedQueue::system();
  std::promise<bool> there;
  static_cast<void>(timer->after(0s, [&] { there.set_value(timer->runsHere()); }));
  EXPECT_TRUE(there.get_future().get());
  EXPECT_FALSE(timer->runsHere());
}

[[noreturn]] void setAnAlarmWithoutAThread() {
  tests::leaveNoRoomForAThread();
  try {
    static_cast<void>(TimedQueue::system()->after(0s, [] {}));
  } catch (const std::bad_alloc&) {
    std::_Exit(0);
  }
  std::_Exit(1);
}

TEST(TimedQueueDeathTest, HasNoMemoryWhereTheSystemHasNoThread) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // in a process that has no timer yet
  EXPECT_EXIT(setAnAlarmWithoutAThread(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace vellora
