#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vellora::tests::interleaving {

/// The path of one run through the tree of all: which alternative was taken at each of its steps. `next` goes
/// through the tree, the deepest steps first.
class Choices {
 public:
  /// The path that takes the first alternative everywhere.
  Choices() = default;

  /// The path that `text` tells, to be taken once more; none when it tells nothing sensible.
  [[nodiscard]] static std::optional<Choices> parsed(const std::string& text);

  /// The alternative to take at this step, of `count`. None when a path that was told has more than there is
  /// to choose from.
  [[nodiscard]] std::optional<std::size_t> choose(std::size_t count);

  /// Back to the first step.
  void rewind() { step_ = 0; }

  /// Goes on to the next path, at its first step. False when there is none.
  bool next();

  /// The path in one line: "12:1 40:2" takes alternative 1 at step 12, 2 at step 40, and elsewhere the first.
  [[nodiscard]] std::string text() const;

 private:
  struct Taken {
    std::size_t alternative;
    std::size_t count;
  };

  std::vector<Taken> path_;
  std::vector<std::pair<std::size_t, std::size_t>> told_;  // step and alternative, in the order of the steps
  std::size_t nextTold_ = 0;
  std::size_t step_ = 0;
};

}  // namespace vellora::tests::interleaving
