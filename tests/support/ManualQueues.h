#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "vellora/Platform/Queues/DispatchQueue.h"

namespace vellora::tests {

/// Steps the library's queues by hand. Link `vellora_manual_queues` to use it: every `SerialDispatchQueue` of
/// the program, and the global queue, then run nothing until the test says so, on the test's thread, in the
/// order of submission. For programs that do everything on one thread.
class ManualQueues {
 public:
  ManualQueues() = default;
  ~ManualQueues();  ///< drops what was not run
  ManualQueues(const ManualQueues&) = delete;
  ManualQueues& operator=(const ManualQueues&) = delete;

  /// Passes each piece of work through `wrap` when it is submitted; what that returns is run. Null: none.
  void wrapWork(std::function<DispatchQueue::Work(DispatchQueue::Work work)> wrap);

  /// Runs the oldest piece of work. False when there was none.
  bool runNext();

  /// Runs everything, also what is submitted meanwhile, and tells how many pieces that were.
  std::size_t runAll();

  /// Drops what was not run, also what is submitted meanwhile.
  void dropAll();

  /// How many pieces of work could be the next to run: the oldest of each serial queue, and all of the global
  /// one.
  [[nodiscard]] std::size_t choices() const;

  /// Runs one of them, counted from the oldest.
  void runChoice(std::size_t choice);

  [[nodiscard]] std::size_t pending() const;

  struct SerialQueue {
    std::string label;
    DispatchQoS qos = DispatchQoS::unspecified;

    friend bool operator==(const SerialQueue&, const SerialQueue&) = default;
  };

  /// The serial queues that were made since the last `ManualQueues` was destroyed.
  [[nodiscard]] std::vector<SerialQueue> made() const;
};

}  // namespace vellora::tests
