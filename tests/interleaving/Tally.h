#pragma once

#include "tests/interleaving/Explorer.h"

namespace vellora::tests::interleaving {

/// Counts calls of what may run until the end of a run, on whatever thread. Who holds it last checks the
/// count.
class Tally {
 public:
  /// At least `least` and at most `most` calls are right.
  Tally(int least, int most) : least_(least), most_(most) {}
  ~Tally() { expect(least_ <= calls_, "it is called"); }
  Tally(const Tally&) = delete;
  Tally& operator=(const Tally&) = delete;

  void note() { expect(++calls_ <= most_, "it is not called too often"); }

 private:
  const int least_;
  const int most_;
  int calls_ = 0;
};

}  // namespace vellora::tests::interleaving
