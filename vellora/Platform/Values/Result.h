#pragma once

#include <optional>
#include <utility>
#include <variant>

#include "vellora/Platform/Values/Error.h"

namespace vellora {

/// Either a value or the error that took its place. Errors travel as values; nothing here throws.
template <class T>
class [[nodiscard]] Result {
 public:
  using Value = T;

  Result(T value) : state_(std::in_place_index<0>, std::move(value)) {}      // NOLINT: converts on purpose
  Result(Error error) : state_(std::in_place_index<1>, std::move(error)) {}  // NOLINT: converts on purpose

  [[nodiscard]] bool hasValue() const noexcept { return state_.index() == 0; }
  explicit operator bool() const noexcept { return hasValue(); }

  /// The value; call only when `hasValue()`.
  [[nodiscard]] T& value() & { return *std::get_if<0>(&state_); }
  [[nodiscard]] const T& value() const& { return *std::get_if<0>(&state_); }
  [[nodiscard]] T value() && { return std::move(*std::get_if<0>(&state_)); }

  /// The error; call only when not `hasValue()`.
  [[nodiscard]] const Error& error() const { return *std::get_if<1>(&state_); }

 private:
  std::variant<T, Error> state_;
};

}  // namespace vellora
