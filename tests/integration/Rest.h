#pragma once

#include <cstddef>

#include "tests/support/SteppedSleep.h"
#include "vellora/Platform/Queues/ThreadPool.h"
#include "vellora/Platform/Queues/TimedQueue.h"

namespace vellora::tests {

/// Lets time pass until the pool has no thread any more, and so many others sleep that no time wakes.
inline void comeToRest(std::size_t sleepers) {
  using detail::ThreadPool;
  const auto isAtRest = [&] {
    return SteppedSleep::untimedSleepers() == sleepers && ThreadPool::shared().threads() == 0;
  };
  while (!isAtRest()) SteppedSleep::pass(ThreadPool::patience);
}

/// Does so where only those threads are left that last as long as the process. Returns how many they are.
/// That is one, of the deadlines. It begins here, if it has not: so a test has as many behind others of its
/// process as by itself.
inline std::size_t comeToRestAtFirst() {
  TimedQueue& deadlines = *TimedQueue::system();
  deadlines.cancel(deadlines.after({}, [] {}));
  comeToRest(1);
  return 1;
}

}  // namespace vellora::tests
