#include "vellora/Platform/Queues/SerialDispatchQueue.h"

#include <boost/asio/post.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/thread_pool.hpp>
#include <utility>

#include "vellora/Platform/Queues/ThreadPool.h"

namespace vellora {

struct SerialDispatchQueue::Strand {
  boost::asio::strand<boost::asio::thread_pool::executor_type> executor =
      boost::asio::make_strand(detail::threadPool().get_executor());
};

SerialDispatchQueue::SerialDispatchQueue(std::string label, DispatchQoS qos)
    : label_(std::move(label)), qos_(qos), strand_(std::make_unique<Strand>()) {}

SerialDispatchQueue::~SerialDispatchQueue() = default;

void SerialDispatchQueue::async(Work work) {
  boost::asio::post(strand_->executor, detail::guarded(std::move(work)));
}

bool SerialDispatchQueue::runsHere() const {
  return strand_->executor.running_in_this_thread();
}

}  // namespace vellora
