#pragma once

#include <optional>
#include <utility>
#include <variant>

#include "vellora/Platform/Values/Error.h"

namespace vellora {

/// Either a value or the error that took its place. Errors travel as values: who calls looks before the value
/// is used.
///
///     const auto host = hostkit::StandardPlatformAPI::make({.server = server});
///     if (!host) return report(host.error().localizedDescription());
///     use(host.value());
///
/// Ownership: holds the value; copies copy it.
///
/// Threads: as safe as the value.
///
/// Errors: throws nothing of its own. Asking for what isn't there is the caller's mistake, and undefined.
template <class T>
class [[nodiscard]] Result {
 public:
  using Value = T;

  /// A success. Both constructors convert, so that a function may end in `return value;` or `return error;`.
  Result(T value) : state_(std::in_place_index<0>, std::move(value)) {}  // NOLINT: converts on purpose

  /// A failure.
  Result(Error error) : state_(std::in_place_index<1>, std::move(error)) {}  // NOLINT: converts on purpose

  /// Whether it is a success.
  [[nodiscard]] bool hasValue() const noexcept { return state_.index() == 0; }
  explicit operator bool() const noexcept { return hasValue(); }

  /// The value; call only when `hasValue()`. Of a result that is about to go, the value is moved out.
  [[nodiscard]] T& value() & { return *std::get_if<0>(&state_); }
  [[nodiscard]] const T& value() const& { return *std::get_if<0>(&state_); }
  [[nodiscard]] T value() && { return std::move(*std::get_if<0>(&state_)); }

  /// The error; call only when not `hasValue()`.
  [[nodiscard]] const Error& error() const { return *std::get_if<1>(&state_); }

 private:
  std::variant<T, Error> state_;
};

}  // namespace vellora
