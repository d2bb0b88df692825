#include "vellora/Platform/Queues/DispatchQueue.h"

#include <boost/asio/post.hpp>
#include <utility>

#include "vellora/Platform/Queues/ThreadCount.h"
#include "vellora/Platform/Queues/ThreadPool.h"

namespace vellora {

namespace {

class GlobalQueue final : public DispatchQueue {
 public:
  void async(Work work) override {
    boost::asio::post(detail::threadPool().get_executor(), detail::guarded(std::move(work)));
  }
  [[nodiscard]] bool runsHere() const override {
    return detail::threadPool().get_executor().running_in_this_thread();
  }
};

}  // namespace

namespace detail {

boost::asio::thread_pool& threadPool() {
  // Never destroyed. Work may still be submitted while the process ends; and when a piece of work calls
  // `exit`, a destructor that joins the pool's threads would wait for its own thread.
  static auto* const pool =
      new boost::asio::thread_pool(threadCount());  // NOLINT(cppcoreguidelines-owning-memory)
  return *pool;
}

}  // namespace detail

const std::shared_ptr<DispatchQueue>& DispatchQueue::global(DispatchQoS) {
  // Never destroyed either, because work that runs while the process ends may ask for the queue.
  static const auto* const queue =
      new std::shared_ptr<DispatchQueue>(std::make_shared<GlobalQueue>());  // NOLINT: see above
  return *queue;
}

}  // namespace vellora
