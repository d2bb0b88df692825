#pragma once

#include <string_view>

namespace vellora::tests::interleaving {

/// What a thread waits for. It stands still as long as that is there.
class Obstacle {
 public:
  virtual ~Obstacle() = default;

  [[nodiscard]] virtual bool isGone() const = 0;

  /// What it is, for who reads of a deadlock.
  [[nodiscard]] virtual std::string_view name() const = 0;

 protected:
  Obstacle() = default;
  Obstacle(const Obstacle&) = default;
  Obstacle& operator=(const Obstacle&) = default;
};

}  // namespace vellora::tests::interleaving
