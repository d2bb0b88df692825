#pragma once

#include "tests/interleaving/Choices.h"

namespace vellora::tests::interleaving {

/// While it stands, a process that crashes, aborts or is ended by a sanitizer says by which schedule.
class Deathbed {
 public:
  explicit Deathbed(const Choices& choices);
  ~Deathbed();
  Deathbed(const Deathbed&) = delete;
  Deathbed& operator=(const Deathbed&) = delete;
};

}  // namespace vellora::tests::interleaving
