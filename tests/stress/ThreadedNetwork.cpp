#include "tests/stress/ThreadedNetwork.h"

#include <utility>

#include "tests/simulation/SimulatedServer.h"

namespace vellora::tests {

using simulation::SimulatedServer;

ThreadedNetwork::ThreadedNetwork(std::size_t threads) {
  for (std::size_t count = 0; count < threads; ++count) threads_.emplace_back([this] { run(); });
}

ThreadedNetwork::~ThreadedNetwork() {
  {
    const std::lock_guard lock(mutex_);
    open_ = closing_ = true;
  }
  changed_.notify_all();
  for (auto& thread : threads_) thread.join();
}

void ThreadedNetwork::sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) {
  {
    const std::lock_guard lock(mutex_);
    ++requests_;
    pending_.push_back({request.base().url.absoluteString(), std::move(completion)});
  }
  changed_.notify_one();
}

void ThreadedNetwork::open() {
  {
    const std::lock_guard lock(mutex_);
    open_ = true;
  }
  changed_.notify_all();
}

std::size_t ThreadedNetwork::requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

void ThreadedNetwork::run() {
  while (true) {
    Pending next;
    {
      std::unique_lock lock(mutex_);
      changed_.wait(lock, [this] { return open_ && (closing_ || !pending_.empty()); });
      if (pending_.empty()) return;
      std::swap(pending_.at(draw_.below(pending_.size())), pending_.back());
      next = std::move(pending_.back());
      pending_.pop_back();
    }
    const auto endpoint = SimulatedServer::endpointOf(next.url);
    const auto completion = std::exchange(next.completion, nullptr);
    completion(Data(SimulatedServer::body(*endpoint, next.url, 1)), std::nullopt, std::nullopt);
  }
}

}  // namespace vellora::tests
