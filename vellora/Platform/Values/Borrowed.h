#pragma once

#include <concepts>

namespace vellora {

/// A value that a call looks at and its caller keeps: a member of options that are handed over with one.
///
///     catalog.records(ids, {.answersOn = mainLoop})
///
/// What is lent may also be something that converts to `T`, such as a handle to a derived class.
///
/// It is a pointer, so options that consist of such members can be copied bit by bit. g++ 12 does that to
/// braces within a `co_await`, whatever they hold. A value that nobody keeps is refused by the compiler.
///
/// Ownership: none. The value must live until the call has returned.
template <class T>
class Borrowed {
 public:
  constexpr Borrowed() noexcept = default;
  template <class U>
  requires std::convertible_to<const U&, T>
  constexpr Borrowed(const U& value) noexcept  // NOLINT: converts on purpose
      : lent_(&value), read_([](const void* lent) -> T { return *static_cast<const U*>(lent); }) {}
  template <class U>
  requires std::convertible_to<const U&, T> Borrowed(const U&& value)
  = delete;

  /// The value; `T()` where none is lent.
  [[nodiscard]] T value() const { return lent_ ? read_(lent_) : T(); }

 private:
  const void* lent_ = nullptr;
  T (*read_)(const void* lent) = nullptr;
};

}  // namespace vellora
