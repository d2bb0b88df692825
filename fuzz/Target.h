#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "vellora/Platform/Values/Data.h"

namespace vellora::fuzz {

/// Something that takes bytes from outside, and what it promises about them whatever they are.
///
/// `run` throws a `BrokenPromise` when one is not kept. Threads: run all targets on one thread; the façade's
/// steps every queue of the program by hand and stops its clock.
struct Target {
  std::string_view name;  ///< also that of its folder in `fuzz/corpus`
  void (*run)(const Data& input);
};

class BrokenPromise : public std::logic_error {
 public:
  using std::logic_error::logic_error;
};

/// Throws a `BrokenPromise` that says what was promised, unless it is kept.
inline void require(bool isKept, std::string_view promise) {
  if (!isKept) throw BrokenPromise(std::string(promise));
}

/// Every target there is.
[[nodiscard]] const std::vector<Target>& targets();

}  // namespace vellora::fuzz
