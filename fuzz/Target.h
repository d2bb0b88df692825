#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "vellora/Platform/Values/Data.h"

namespace vellora::fuzz {

/// Something that takes bytes from outside, and keeps promises about them whatever they are.
///
/// Threads: run all targets on one thread. The façade's target steps every queue of the program by hand and
/// stops its clock.
///
/// Errors: `run` throws a `BrokenPromise` when a promise is not kept.
struct Target {
  std::string_view name;  ///< also the name of its folder in `fuzz/corpus`
  void (*run)(const Data& input);
};

/// Says which promise of a target is not kept.
class BrokenPromise : public std::logic_error {
 public:
  using std::logic_error::logic_error;
};

/// Throws a `BrokenPromise` with the text `promise`, unless it is kept.
inline void require(bool isKept, std::string_view promise) {
  if (!isKept) throw BrokenPromise(std::string(promise));
}

/// Every target there is.
[[nodiscard]] const std::vector<Target>& targets();

}  // namespace vellora::fuzz
