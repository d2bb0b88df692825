#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <mutex>
#include <utility>

namespace vellora::http {

/// The way from other threads onto a server's loop, shut before the loop ends.
///
/// Threads: synchronises itself. What is posted never runs inside `post`.
class LoopGate {
 public:
  explicit LoopGate(boost::asio::io_context& loop) : loop_(&loop) {}

  template <class Work>
  void post(Work work) {
    const std::lock_guard lock(mutex_);
    if (loop_ != nullptr) boost::asio::post(*loop_, std::move(work));
  }

  void shut() {
    const std::lock_guard lock(mutex_);
    loop_ = nullptr;
  }

 private:
  std::mutex mutex_;
  boost::asio::io_context* loop_;  // null once shut
};

}  // namespace vellora::http
