#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tests/simulation/Draw.h"
#include "vellora/Host/Network.h"

namespace vellora::tests {

/// A records server behind threads of its own. It holds all requests until it is opened. Then it answers
/// them, several at once, in an order that is drawn.
///
/// Threads: safe to use from several at once. Answers everything before it is destroyed.
class ThreadedNetwork final : public CorvaneSDK::Network {
 public:
  explicit ThreadedNetwork(std::size_t threads);
  ~ThreadedNetwork() override;
  ThreadedNetwork(const ThreadedNetwork&) = delete;
  ThreadedNetwork& operator=(const ThreadedNetwork&) = delete;

  void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override;

  void open();

  [[nodiscard]] std::size_t requests() const;

 private:
  struct Pending {
    std::string url;
    Completion completion;
  };

  void run();

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  // All below under mutex_.
  std::vector<Pending> pending_;
  simulation::Draw draw_{1};
  std::size_t requests_ = 0;
  bool open_ = false;
  bool closing_ = false;

  std::vector<std::thread> threads_;
};

}  // namespace vellora::tests
