#include <memory>
#include <optional>
#include <utility>

#include "tests/interleaving/InterleavingTest.h"
#include "tests/interleaving/NewPool.h"
#include "tests/interleaving/Plain.h"
#include "vellora/Platform/Queues/BoundedQueue.h"
#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"
#include "vellora/Platform/Queues/ThreadPool.h"

namespace vellora::tests::interleaving {
namespace {

using detail::ThreadPool;

/// Of the pool of threads and the queues that run on it. A thread of the pool may run out of patience at any
/// moment.
class PoolTest : public InterleavingTest {
 protected:
  /// Counts how often it runs. That is done on one thread at a time.
  class Turn : public ThreadPool::Turn {
   public:
    void run() override {
      expect(ThreadPool::runsHere(), "it runs on a thread of the pool");
      ++runs_.changed();
    }
    [[nodiscard]] int runs() const { return runs_.get(); }

   private:
    Plain<int> runs_{0};
  };

  /// One that has itself run once more.
  class TurnAndAgain final : public Turn, public std::enable_shared_from_this<TurnAndAgain> {
   public:
    void run() override {
      Turn::run();
      if (runs() == 1) ThreadPool::shared().submitAgain(shared_from_this());
    }
  };

  /// A pool, and who is submitted to it.
  struct Scene {
    ThreadPool& pool = newPool();
    std::shared_ptr<Turn> one = std::make_shared<Turn>();
    std::shared_ptr<Turn> other = std::make_shared<Turn>();

    /// Lets so many threads come, run and fall asleep.
    void haveIdleThreads(std::size_t count) {
      for (std::size_t i = 0; i < count; ++i) pool.submit(std::make_shared<Turn>());
      awaitRest();
    }

    /// Expects that all is as it is to be when nobody goes on but by time.
    void expectRun(const Turn& turn, int times = 1) const {
      expect(turn.runs() == times, "it has run, and as often as it was submitted");
    }
    void expectThreadsToEnd() {
      pool.endIdleThreads();
      awaitRest();
      expect(pool.threads() == 0, "no thread stays when all are told to end");
    }
  };
};

TEST_F(PoolTest, TwoThatAreSubmittedAtOnceRun) {
  tryEach([] {
    Scene scene;
    atOnce({[&] { scene.pool.submit(scene.one); }, [&] { scene.pool.submit(scene.other); }});
    awaitRest();
    scene.expectRun(*scene.one);
    scene.expectRun(*scene.other);
  });
}

TEST_F(PoolTest, WhatIsSubmittedWhileAThreadFallsAsleepRuns) {
  tryEach([] {
    Scene scene;
    scene.pool.submit(scene.one);
    atOnce({[&] { scene.pool.submit(scene.other); }});
    awaitRest();
    scene.expectRun(*scene.one);
    scene.expectRun(*scene.other);
    scene.expectThreadsToEnd();
  });
}

TEST_F(PoolTest, WhatIsSubmittedWhileAThreadRunsOutOfPatienceRuns) {
  tryEach([] {
    Scene scene;
    scene.haveIdleThreads(2);
    atOnce({[&] { scene.pool.submit(scene.one); }});
    awaitRest();
    scene.expectRun(*scene.one);
    scene.expectThreadsToEnd();
  });
}

TEST_F(PoolTest, TwoThatAreSubmittedToOneIdleThreadRun) {
  tryEach([] {
    Scene scene;
    scene.haveIdleThreads(1);
    atOnce({[&] { scene.pool.submit(scene.one); }, [&] { scene.pool.submit(scene.other); }});
    awaitRest();
    scene.expectRun(*scene.one);
    scene.expectRun(*scene.other);
    expect(scene.pool.threads() <= 2, "there are no more threads than work");
  });
}

TEST_F(PoolTest, WhatIsSubmittedWhileIdleThreadsAreToldToEndRuns) {
  tryEach([] {
    Scene scene;
    scene.haveIdleThreads(1);
    atOnce({[&] { scene.pool.endIdleThreads(); }, [&] { scene.pool.submit(scene.one); }});
    awaitRest();
    scene.expectRun(*scene.one);
    scene.expectThreadsToEnd();
  });
}

TEST_F(PoolTest, WhatIsSubmittedAgainRunsBesideWhatIsSubmitted) {
  tryEach([] {
    Scene scene;
    scene.one = std::make_shared<TurnAndAgain>();
    atOnce({[&] { scene.pool.submit(scene.one); }, [&] { scene.pool.submit(scene.other); }});
    awaitRest();
    scene.expectRun(*scene.one, 2);
    scene.expectRun(*scene.other);
  });
}

TEST_F(PoolTest, ASerialQueueRunsWhatTwoSubmitOneAtATime) {
  tryEach([] {
    newPool();
    auto queue = std::make_optional<SerialDispatchQueue>("serial");
    Plain<int> ran(0);
    const auto submit = [&] { queue->async([&] { ++ran.changed(); }); };
    atOnce({submit, submit});
    queue.reset();
    awaitRest();
    expect(ran.get() == 2, "each piece has run");
  });
}

TEST_F(PoolTest, ASerialQueueKeepsTheOrderOfAThreadThatSubmitsWhileItsTurnEnds) {
  tryEach([] {
    newPool();
    SerialDispatchQueue queue("serial");
    Plain<int> ran(0);
    const auto next = [&](int number) {
      queue.async([&ran, number] { expect(ran.changed()++ == number, "they run in their order"); });
    };
    next(0);
    atOnce({[&] {
      next(1);
      next(2);
    }});
    awaitRest();
    expect(ran.get() == 3, "each piece has run");
  });
}

TEST_F(PoolTest, ABoundedQueueOnThePoolRunsEachPieceAndOneAtATime) {
  tryEach([] {
    newPool();
    BoundedQueue queue(DispatchQueue::global(DispatchQoS::unspecified), 1);
    Plain<int> ran(0);
    const auto submit = [&] { queue.async([&] { ++ran.changed(); }); };
    atOnce({submit, submit});
    awaitRest();
    expect(ran.get() == 2, "each piece has run");
  });
}

}  // namespace
}  // namespace vellora::tests::interleaving
