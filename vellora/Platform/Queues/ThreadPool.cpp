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
  {
    const std::lock_guard lock(mutex_);
    if (waiting_ >= idle_ && threads_ < most_) startThread();
    add(std::move(turn));
    if (idle_ == 0) return;
  }
  submitted_.notify_one();
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

// Where the system has none for it, those that there are take the turn in time.
void ThreadPool::startThread() {
  try {
    std::thread([this] { work(); }).detach();
    ++threads_;
  } catch (const std::system_error&) {
    if (threads_ == 0) throw std::bad_alloc();
  } catch (const std::bad_alloc&) {
    if (threads_ == 0) throw;
  }
}

void ThreadPool::work() {
  isOfThePool = true;
  std::unique_lock lock(mutex_);
  while (auto turn = waitForTurn(lock)) {
    lock.unlock();
    turn->run();
    turn.reset();
    lock.lock();
  }
  --threads_;
}

std::shared_ptr<ThreadPool::Turn> ThreadPool::waitForTurn(std::unique_lock<std::mutex>& lock) {
  if (!first_) {
    const auto end = Sleep::now() + patience;
    ++idle_;
    const auto ends = ends_;
    while (!first_ && ends == ends_ && Sleep::now() < end) Sleep::on(submitted_, lock, end);
    --idle_;
  }
  auto turn = std::move(first_);
  if (turn) {
    first_ = std::move(turn->next_);
    --waiting_;
  }
  return turn;
}

void ThreadPool::endIdleThreads() {
  {
    const std::lock_guard lock(mutex_);
    ++ends_;
  }
  submitted_.notify_all();
}

std::size_t ThreadPool::threads() const {
  const std::lock_guard lock(mutex_);
  return threads_;
}

}  // namespace vellora::detail
