#pragma once

#include <optional>
#include <utility>
#include <variant>

#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

namespace detail {

/// Says on standard error what the failure was whose value was asked for, and ends the process.
[[noreturn]] VELLORA_EXPORT void endForWantOfValue(const Error& failure) noexcept;

/// Says on standard error that there is no error to be had, and ends the process.
[[noreturn]] VELLORA_EXPORT void endForWantOfError() noexcept;

}  // namespace detail

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
/// Errors: throws nothing of its own. Asking for what isn't there is the caller's mistake: it ends the
/// process
/// (`std::abort`), after a line on standard error that says what the failure was.
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
  [[nodiscard]] T& value() & {
    requireValue();
    return *std::get_if<0>(&state_);
  }
  [[nodiscard]] const T& value() const& {
    requireValue();
    return *std::get_if<0>(&state_);
  }
  [[nodiscard]] T value() && {
    requireValue();
    return std::move(*std::get_if<0>(&state_));
  }

  /// The error; call only when not `hasValue()`.
  [[nodiscard]] const Error& error() const {
    const Error* const failure = std::get_if<1>(&state_);
    if (failure == nullptr) detail::endForWantOfError();
    return *failure;
  }

 private:
  void requireValue() const {
    if (!hasValue()) detail::endForWantOfValue(error());
  }

  std::variant<T, Error> state_;
};

}  // namespace vellora
