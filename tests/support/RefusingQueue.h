#pragma once

#include <deque>
#include <new>
#include <utility>

#include "vellora/Platform/Queues/DispatchQueue.h"

namespace vellora::tests {

/// A queue that is stepped by hand, and gets no memory for a piece of work when the test says so.
class RefusingQueue final : public DispatchQueue {
 public:
  void async(Work work) override {
    if (std::exchange(isToRefuse_, false)) throw std::bad_alloc();
    work_.push_back(std::move(work));
  }

  void refuseNext() { isToRefuse_ = true; }

  void runAll() {
    while (!work_.empty()) {
      const auto work = std::move(work_.front());
      work_.pop_front();
      work();
    }
  }

 private:
  std::deque<Work> work_;
  bool isToRefuse_ = false;
};

}  // namespace vellora::tests
