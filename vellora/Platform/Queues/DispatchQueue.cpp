#include "vellora/Platform/Queues/DispatchQueue.h"

#include <utility>

#include "vellora/Platform/Queues/ThreadPool.h"

namespace vellora {

namespace {

using detail::ThreadPool;

class Piece final : public ThreadPool::Turn {
 public:
  explicit Piece(DispatchQueue::Work work) : work_(std::move(work)) {}

  void run() override { detail::runGuarded(work_); }

 private:
  const DispatchQueue::Work work_;
};

class GlobalQueue final : public DispatchQueue {
 public:
  void async(Work work) override { ThreadPool::shared().submit(std::make_shared<Piece>(std::move(work))); }
  [[nodiscard]] bool runsHere() const override { return ThreadPool::runsHere(); }
};

}  // namespace

const std::shared_ptr<DispatchQueue>& DispatchQueue::global(DispatchQoS) {
  // Never destroyed, because work that runs while the process ends may ask for the queue.
  static const auto* const queue =
      new std::shared_ptr<DispatchQueue>(std::make_shared<GlobalQueue>());  // NOLINT: see above
  return *queue;
}

}  // namespace vellora
