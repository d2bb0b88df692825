#pragma once

#include <optional>

#include "vellora/Platform/Values/Error.h"

namespace vellora {

/// How a producer ended: with an error, or (no value) normally.
using Completion = std::optional<Error>;

/// Receives what a producer yields. Whoever calls it makes its calls one after another, never two at once,
/// and none after `complete`.
template <class T>
class Observer {
 public:
  virtual ~Observer() = default;
  virtual void receive(T value) = 0;
  virtual void complete(Completion completion) = 0;

 protected:
  Observer() = default;
  Observer(const Observer&) = default;
  Observer& operator=(const Observer&) = default;
};

}  // namespace vellora
