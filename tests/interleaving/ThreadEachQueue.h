#pragma once

#include <utility>

#include "tests/interleaving/Thread.h"
#include "vellora/Platform/Queues/DispatchQueue.h"

namespace vellora::tests::interleaving {

/// A concurrent queue that has a thread for each piece of work, so that all of them may run at once.
class ThreadEachQueue final : public DispatchQueue {
 public:
  void async(Work work) override { Thread(std::move(work)).detach(); }
};

}  // namespace vellora::tests::interleaving
