#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/faults/CacheImage.h"
#include "tests/faults/Deliveries.h"
#include "tests/faults/Operations.h"
#include "tests/support/ManualQueues.h"
#include "tests/support/TestClock.h"

namespace vellora::faults {

/// A fault and the call that has it.
struct PlannedFault {
  std::size_t call;
  testkit::HostFault fault;
  testkit::HostFaults::Lasting lasting;
};

/// What came of a run.
struct Outcome {
  std::string answer;  ///< as `difference` says it
  /// What the same question gets once nothing goes wrong any more: "right" when it is answered rightly by the
  /// same service and by a new one.
  std::string afterwards;

  friend bool operator==(const Outcome&, const Outcome&) = default;
  friend std::ostream& operator<<(std::ostream& stream, const Outcome& outcome) {
    return stream << '"' << outcome.answer << "\", afterwards \"" << outcome.afterwards << '"';
  }
};

/// Tries one operation, its host in one state, with whatever faults.
class Trials {
 public:
  struct Trial {
    Outcome outcome;
    std::vector<testkit::HostCall> calls;  ///< of the operation, and of the release of its service
    std::vector<std::string> leftovers;
  };

  /// The states of the cache:
  /// - cold: empty;
  /// - primed: holds what a prefetch leaves;
  /// - warm: holds what every lookup leaves;
  /// - expired: the same, but all of it older than the time-out.
  [[nodiscard]] static const std::vector<std::string>& states();

  Trials(const Operation& operation, const std::string& state);

  [[nodiscard]] Trial run(const std::vector<PlannedFault>& faults);

  /// What the operation answers when nothing goes wrong.
  [[nodiscard]] const Deliveries& right() const noexcept { return right_; }

 private:
  [[nodiscard]] std::string afterwards(const std::optional<std::string>& same,
                                       const std::shared_ptr<CorvaneSDK::Cache>& cache,
                                       std::vector<std::string>& leftovers);

  const Operation& operation_;
  tests::TestClock clock_;
  tests::ManualQueues queues_;
  CacheImage image_;   // of the state
  CacheImage source_;  // of anything that was ever cached, for another's bytes
  Deliveries right_;
};

}  // namespace vellora::faults
