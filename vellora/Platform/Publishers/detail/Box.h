#pragma once

#include <utility>

#include "vellora/Platform/Publishers/detail/Counted.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::detail {

/// A value that waits for its turn, whatever its type.
class VELLORA_EXPORT Box : public Counted {
 public:
  /// Where the value is.
  [[nodiscard]] virtual void* value() noexcept = 0;

 protected:
  ~Box() override;
};

template <class T>
class BoxOf final : public Box {
 public:
  explicit BoxOf(T&& value) : value_(std::move(value)) {}
  [[nodiscard]] void* value() noexcept override { return &value_; }

 private:
  T value_;
};

/// Moves the value at `value` into a box.
using Boxing = Handle<Box> (*)(void* value);

template <class T>
Handle<Box> boxed(void* value) {
  return Handle<Box>(new BoxOf<T>(std::move(*static_cast<T*>(value))));
}

}  // namespace vellora::detail
