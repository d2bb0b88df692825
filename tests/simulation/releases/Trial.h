#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tests/simulation/releases/Case.h"

namespace vellora::releases {

/// What one run came to.
struct Run {
  std::vector<std::string> trace;  ///< each call to the host, and each answer
  std::size_t moments = 0;
  std::size_t answers = 0;
  bool hasToken = false;
};

/// What came of releases.
struct Outcome {
  std::optional<std::string> breach;  ///< the first breach of a promise
  bool hasReleased = false;           ///< whether anything was there to be released
};

/// An operation in one surrounding: first with nothing released, then with whatever is to be tried.
class Trial {
 public:
  /// `undisturbed` names an operation that there is, and releases nothing.
  explicit Trial(Case undisturbed);

  /// What the operation comes to when nothing is released.
  [[nodiscard]] const Run& undisturbed() const { return undisturbed_; }

  /// Runs it with these releases. Prints each step when `isTraced`.
  [[nodiscard]] Outcome outcome(std::vector<Release> releases, bool isTraced = false);

 private:
  Case case_;
  Run undisturbed_;
};

}  // namespace vellora::releases
