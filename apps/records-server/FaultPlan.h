#pragma once

#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "apps/records-server/Fault.h"

namespace vellora::recordsserver {

/// Which requests get which fault.
///
/// Threads: synchronises itself.
class FaultPlan {
 public:
  /// From now on requests that match `pattern` get `fault`: the next `count` of them, or all when there is no
  /// count. A pattern without a `?` is compared with the target's path, one with it with the whole target; a
  /// `*` stands for any text. The plan replaces an earlier one of the same pattern; of several patterns that
  /// match, the one set last wins.
  void set(std::string pattern, Fault fault, std::optional<std::size_t> count);

  /// No faults from now on.
  void clear();

  /// The fault for one request; uses up one of its count.
  [[nodiscard]] Fault take(std::string_view target);

 private:
  struct Rule {
    std::string pattern;
    Fault fault;
    std::optional<std::size_t> left;
  };

  std::mutex mutex_;
  std::vector<Rule> rules_;  // the later wins
};

}  // namespace vellora::recordsserver
