#include <algorithm>
#include <chrono>
#include <memory>

#include "tests/interleaving/Atomic.h"
#include "tests/interleaving/InterleavingTest.h"
#include "vellora/Platform/Queues/Sleep.h"
#include "vellora/Platform/Queues/SystemTimedQueue.h"

namespace vellora::tests::interleaving {
namespace {

using namespace std::chrono_literals;
using detail::SystemTimedQueue;

/// Of the timer of the deadlines, whose thread is the only one that sleeps: time passes when it wakes, which
/// may be at any moment.
class TimerTest : public InterleavingTest {
 protected:
  /// The timer, as at the begin of a process.
  static SystemTimedQueue& newTimer() {
    static auto* const timer = new SystemTimedQueue();  // NOLINT: never destroyed, as the library's own
    std::destroy_at(timer);
    return *std::construct_at(timer);
  }

  /// Something that is due after a while.
  class Due {
   public:
    Due(SystemTimedQueue& timer, std::chrono::seconds delay) : timer_(timer), delay_(delay) {}

    void set() {
      moment_ = Sleep::now() + delay_;
      alarm_ = timer_.after(delay_, [this, held = held_] { run(); });
      isSetBy_ = Sleep::now();
    }
    void cancel() { timer_.cancel(alarm_); }

    void await() const {
      while (runs_ == 0) runs_.wait(0);
      awaitRest();  // so that whoever has woken this thread is no longer at it
    }
    [[nodiscard]] int runs() const { return runs_; }
    [[nodiscard]] bool isHeld() const { return held_.use_count() > 1; }

   private:
    void run() {
      expect(timer_.runsHere(), "it runs on the timer's thread");
      expect(moment_ <= Sleep::now(), "it does not run before its moment");
      expect(Sleep::now() <= std::max(moment_, isSetBy_), "it runs as soon as it is due and set");
      ++runs_;
      expect(runs_ == 1, "it runs once");
      runs_.notify_all();
    }

    SystemTimedQueue& timer_;
    const std::chrono::seconds delay_;
    const std::shared_ptr<int> held_ = std::make_shared<int>(0);
    Sleep::Moment moment_;
    Sleep::Moment isSetBy_ = Sleep::never;
    TimedQueue::Alarm alarm_ = 0;
    Atomic<int> runs_ = 0;
  };
};

TEST_F(TimerTest, TwoThatAreSetAtOnceRunInTime) {
  tryEach([] {
    auto& timer = newTimer();
    Due one(timer, 5s);
    Due other(timer, 10s);
    atOnce({[&] { one.set(); }, [&] { other.set(); }});
    one.await();
    other.await();
    expect(!timer.runsHere(), "this is not the timer's thread");
  });
}

TEST_F(TimerTest, WhatIsDueEarlierThanTheTimerIsAboutToSleepRunsInTime) {
  tryEach([] {
    auto& timer = newTimer();
    Due late(timer, 10s);
    Due early(timer, 5s);
    late.set();
    atOnce({[&] { early.set(); }});
    early.await();
    late.await();
  });
}

TEST_F(TimerTest, WhatIsSetWhileAnotherRunsRunsInTime) {
  tryEach([] {
    auto& timer = newTimer();
    Due first(timer, 5s);
    Due early(timer, 5s);
    Due late(timer, 10s);
    first.set();
    awaitRest();
    atOnce({[&] { late.set(); }, [&] { early.set(); }});
    first.await();
    early.await();
    late.await();
  });
}

TEST_F(TimerTest, WhatIsCancelledWhenItIsDueRunsOnceAtMostAndIsLetGoOf) {
  tryEach([] {
    auto& timer = newTimer();
    Due cancelled(timer, 5s);
    Due last(timer, 10s);
    cancelled.set();
    atOnce({[&] { cancelled.cancel(); }});
    awaitRest();
    expect(!cancelled.isHeld(), "the timer has let go of it");
    const int runs = cancelled.runs();
    last.set();
    last.await();
    expect(cancelled.runs() == runs, "it does not run later on");
  });
}

TEST_F(TimerTest, WhatIsSetWhileThatIsCancelledForWhichTheTimerSleepsRunsInTime) {
  tryEach([] {
    auto& timer = newTimer();
    Due cancelled(timer, 5s);
    Due kept(timer, 10s);
    cancelled.set();
    awaitRest();
    atOnce({[&] { cancelled.cancel(); }, [&] { kept.set(); }});
    kept.await();
    expect(!cancelled.isHeld(), "the timer has let go of it");
  });
}

}  // namespace
}  // namespace vellora::tests::interleaving
