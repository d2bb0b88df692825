#include "vellora/Platform/Queues/ThreadPool.h"

#include <system_error>
#include <thread>
#include <utility>

#include "vellora/Platform/Queues/Sleep.h"

namespace vellora::detail {

namespace {

thread_local bool isOfThePool = false;

}  // namespace

ThreadPool& ThreadPool::shared() {
  // Never destroyed: work may still be submitted, and run, while the process ends.
  static auto* const pool = new ThreadPool();  // NOLINT(cppcoreguidelines-owning-memory)
  return *pool;
}

bool ThreadPool::runsHere() noexcept {
  return isOfThePool;
}

void ThreadPool::submit(std::shared_ptr<Turn> turn) {
  const std::lock_guard lock(mutex_);
  if (waiting_ >= coming_) sendThread();
  add(std::move(turn));
}

void ThreadPool::submitAgain(std::shared_ptr<Turn> turn) {
  const std::lock_guard lock(mutex_);
  add(std::move(turn));
}

void ThreadPool::add(std::shared_ptr<Turn> turn) {
  auto* const added = turn.get();
  (first_ ? last_->next_ : first_) = std::move(turn);
  last_ = added;
  ++waiting_;
}

void ThreadPool::sendThread() {
  if (idle_) {
    wakeLast();
  } else if (threads_ < most_) {
    startThread();
  }
}

// Where the system has none for it, those that there are take the turn in time.
void ThreadPool::startThread() {
  try {
    std::thread([this] { work(); }).detach();
    ++threads_;
    ++coming_;
  } catch (const std::system_error&) {
    if (threads_ == 0) throw std::bad_alloc();
  } catch (const std::bad_alloc&) {
    if (threads_ == 0) throw;
  }
}

void ThreadPool::wakeLast() {
  auto& woken = *std::exchange(idle_, idle_->below);
  woken.isAwake = true;
  ++coming_;
  woken.call.notify_one();  // under the lock: the thread takes `woken` away when it has that
}

void ThreadPool::work() {
  isOfThePool = true;
  std::unique_lock lock(mutex_);
  --coming_;
  while (auto turn = waitForTurn(lock)) {
    lock.unlock();
    turn->run();
    turn.reset();
    lock.lock();
  }
  --threads_;
}

// A thread that is woken may find that another has taken the turn.
std::shared_ptr<ThreadPool::Turn> ThreadPool::waitForTurn(std::unique_lock<std::mutex>& lock) {
  if (!first_) {
    const auto end = Sleep::now() + patience;
    const auto ends = ends_;
    while (!first_ && ends == ends_ && Sleep::now() < end) idleUntil(end, lock);
  }
  auto turn = std::move(first_);
  if (turn) {
    first_ = std::move(turn->next_);
    --waiting_;
  }
  return turn;
}

void ThreadPool::idleUntil(Sleep::Moment end, std::unique_lock<std::mutex>& lock) {
  Idle idle{.below = idle_};
  idle_ = &idle;
  Sleep::on(idle.call, lock, end);
  if (idle.isAwake) {
    --coming_;
  } else {
    remove(idle);
  }
}

void ThreadPool::remove(const Idle& idle) {
  auto** place = &idle_;
  while (*place != &idle) place = &(*place)->below;
  *place = idle.below;
}

void ThreadPool::endIdleThreads() {
  const std::lock_guard lock(mutex_);
  ++ends_;
  while (idle_) wakeLast();
}

std::size_t ThreadPool::threads() const {
  const std::lock_guard lock(mutex_);
  return threads_;
}

}  // namespace vellora::detail
