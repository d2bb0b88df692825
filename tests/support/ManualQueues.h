#pragma once

#include <cstddef>

namespace vellora::tests {

/// Steps the serial queues by hand. Link `vellora_manual_queues` to use it: every `SerialDispatchQueue` of
/// the program then runs nothing until the test says so, on the test's thread, in the order of submission.
/// For programs that do everything on one thread.
class ManualQueues {
 public:
  ManualQueues() = default;
  ~ManualQueues();  ///< drops what was not run
  ManualQueues(const ManualQueues&) = delete;
  ManualQueues& operator=(const ManualQueues&) = delete;

  /// Runs the oldest piece of work. False when there was none.
  bool runNext();

  /// Runs everything, also what is submitted meanwhile, and tells how many pieces that were.
  std::size_t runAll();

  [[nodiscard]] std::size_t pending() const;
};

}  // namespace vellora::tests
