#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "tests/interleaving/Mutex.h"
#include "tests/interleaving/ThreadEachQueue.h"
#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"

// In place of the library's queues, since a run cannot step the threads of its pool.

namespace vellora {

const std::shared_ptr<DispatchQueue>& DispatchQueue::global(DispatchQoS) {
  static const std::shared_ptr<DispatchQueue> queue =
      std::make_shared<tests::interleaving::ThreadEachQueue>();
  return queue;
}

struct SerialDispatchQueue::Strand {
  /// Adds `work`, and begins a thread for it unless there is one, which then runs this, too.
  static void add(const std::shared_ptr<Strand>& strand, Work work) {
    const std::lock_guard lock(strand->mutex);
    strand->waiting.push_back(std::move(work));
    if (strand->waiting.size() > 1) return;
    tests::interleaving::Thread([strand] { strand->runAll(); }).detach();
  }

  void runAll() {
    std::unique_lock lock(mutex);
    while (!waiting.empty()) {
      const Work work = waiting.front();
      lock.unlock();
      work();
      lock.lock();
      waiting.pop_front();
    }
  }

  std::shared_ptr<Strand> self = nullptr;  // of the strand that the queue holds, the one with the work
  tests::interleaving::Mutex mutex;        // guards what follows
  std::deque<Work> waiting;                // the first one is running
};

SerialDispatchQueue::SerialDispatchQueue(std::string label, DispatchQoS qos)
    : label_(std::move(label)), qos_(qos), strand_(std::make_unique<Strand>()) {
  strand_->self = std::make_shared<Strand>();
}

SerialDispatchQueue::~SerialDispatchQueue() = default;

void SerialDispatchQueue::async(Work work) {
  Strand::add(strand_->self, std::move(work));
}

bool SerialDispatchQueue::runsHere() const {
  return false;
}

}  // namespace vellora
