#pragma once

#include <cstdint>

#include "tests/interleaving/Run.h"

namespace vellora::tests::interleaving {

/// A part of what must not be used once it is destroyed. Memory that was freed often still says so; where it
/// doesn't, AddressSanitizer does.
class Alive {
 public:
  Alive() = default;
  ~Alive() { mark_ = dead; }
  Alive(const Alive&) = delete;
  Alive& operator=(const Alive&) = delete;

  void check(Run& run) const {
    if (mark_ != alive) run.fail("it uses what is destroyed");
  }

 private:
  static constexpr std::uint32_t alive = 0xA11FE;
  static constexpr std::uint32_t dead = 0xDEAD;

  volatile std::uint32_t mark_ = alive;  // volatile, or the compiler leaves the last store out
};

}  // namespace vellora::tests::interleaving
