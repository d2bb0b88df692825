#pragma once

#include <optional>

#include "vellora/Platform/Values/Error.h"

namespace vellora {

/// How a producer ended: with an error, or (no value) normally.
using Completion = std::optional<Error>;

/// Receives what a producer yields: any number of values, then at most one completion. A subscription that
/// is cancelled has none.
///
/// Threads: called on whatever thread yields, one call at a time. The caller keeps the observer alive until
/// its call returns.
///
/// Errors: a call may throw `std::bad_alloc`, which ends the pipeline, and nothing else.
template <class T>
class Observer {
 public:
  virtual ~Observer() = default;

  /// Takes the next value. Not called after `complete`.
  virtual void receive(T value) = 0;

  /// Takes the end. It is the last call.
  virtual void complete(Completion completion) = 0;

 protected:
  Observer() = default;
  Observer(const Observer&) = default;
  Observer& operator=(const Observer&) = default;
};

}  // namespace vellora
