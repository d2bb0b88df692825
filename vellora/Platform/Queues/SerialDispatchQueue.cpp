#include "vellora/Platform/Queues/SerialDispatchQueue.h"

#include <atomic>
#include <list>
#include <mutex>
#include <thread>
#include <utility>

#include "vellora/Platform/Queues/ThreadPool.h"

namespace vellora {

/// The work of one queue. While there is any, it waits or runs as one turn of the pool.
struct SerialDispatchQueue::Strand final : detail::ThreadPool::Turn, std::enable_shared_from_this<Strand> {
  void add(Work work) {
    std::list<Work> added;
    added.push_back(std::move(work));
    const std::lock_guard lock(mutex_);
    if (!isSubmitted_) detail::ThreadPool::shared().submit(shared_from_this());
    isSubmitted_ = true;
    waiting_.splice(waiting_.end(), added);
  }

  /// Runs what there is. What comes meanwhile lets other queues have their turn first.
  void run() override {
    thread_ = std::this_thread::get_id();
    for (auto work = takeWaiting(); !work.empty(); work.pop_front()) detail::runGuarded(work.front());
    thread_ = std::thread::id();
    const std::lock_guard lock(mutex_);
    isSubmitted_ = !waiting_.empty();
    if (isSubmitted_) detail::ThreadPool::shared().submitAgain(shared_from_this());
  }

  [[nodiscard]] bool runsHere() const { return thread_ == std::this_thread::get_id(); }

 private:
  [[nodiscard]] std::list<Work> takeWaiting() {
    const std::lock_guard lock(mutex_);
    return std::exchange(waiting_, {});
  }

  std::atomic<std::thread::id> thread_;
  std::mutex mutex_;  // guards what follows
  std::list<Work> waiting_;
  bool isSubmitted_ = false;
};

SerialDispatchQueue::SerialDispatchQueue(std::string label, DispatchQoS qos)
    : label_(std::move(label)), qos_(qos), strand_(std::make_shared<Strand>()) {}

SerialDispatchQueue::~SerialDispatchQueue() = default;

void SerialDispatchQueue::async(Work work) {
  strand_->add(std::move(work));
}

bool SerialDispatchQueue::runsHere() const {
  return strand_->runsHere();
}

}  // namespace vellora
