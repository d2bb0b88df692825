#pragma once

#include <cstddef>
#include <cstdint>

namespace vellora::simulation {

/// The one source of chance of a run: the same seed draws the same on every machine.
class Draw {
 public:
  explicit Draw(std::uint64_t seed) : state_(seed) {}

  /// A number from 0 up to, not including, `count`, which must not be 0.
  std::size_t below(std::size_t count) { return static_cast<std::size_t>(next() % count); }

  /// True once in `count` times; never when `count` is 0.
  bool oneIn(std::size_t count) { return count != 0 && below(count) == 0; }

 private:
  std::uint64_t next() {  // splitmix64
    state_ += 0x9E3779B97F4A7C15ULL;
    std::uint64_t mixed = state_;
    mixed = (mixed ^ (mixed >> 30U)) * 0xBF58476D1CE4E5B9ULL;
    mixed = (mixed ^ (mixed >> 27U)) * 0x94D049BB133111EBULL;
    return mixed ^ (mixed >> 31U);
  }

  std::uint64_t state_;
};

}  // namespace vellora::simulation
