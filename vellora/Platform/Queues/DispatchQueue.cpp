#include "vellora/Platform/Queues/DispatchQueue.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <thread>
#include <utility>

#include "vellora/Platform/Queues/ThreadPool.h"

namespace vellora {

namespace {

// A pool that is larger than the machine, because a host's cache or completion may block its thread for a
// while.
std::size_t threadCount() {
  return std::max(4U, std::thread::hardware_concurrency());
}

class GlobalQueue final : public DispatchQueue {
 public:
  void async(Work work) override {
    boost::asio::post(detail::threadPool().get_executor(), detail::guarded(std::move(work)));
  }
};

}  // namespace

namespace detail {

boost::asio::thread_pool& threadPool() {
  // Never destroyed, so that work may still be submitted, and `exit` be called from a piece of work, while
  // the process ends: joining the threads then would wait for oneself.
  static auto* const pool =
      new boost::asio::thread_pool(threadCount());  // NOLINT(cppcoreguidelines-owning-memory)
  return *pool;
}

}  // namespace detail

const std::shared_ptr<DispatchQueue>& DispatchQueue::global(DispatchQoS) {
  // Never destroyed either: what still runs while the process ends may ask for it.
  static const auto* const queue =
      new std::shared_ptr<DispatchQueue>(std::make_shared<GlobalQueue>());  // NOLINT: see above
  return *queue;
}

}  // namespace vellora
