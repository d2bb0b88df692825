#pragma once

namespace vellora {

/// A value that a call looks at and its caller keeps: a member of options that are handed over with one.
///
///     catalog.records(ids, {.answersOn = mainLoop})
///
/// It is a pointer, so options that consist of such members can be copied bit by bit. g++ 12 does that to
/// braces within a `co_await`, whatever they hold. A value that nobody keeps is refused by the compiler.
///
/// Ownership: none. The value must live until the call has returned.
template <class T>
class Borrowed {
 public:
  constexpr Borrowed() noexcept = default;
  constexpr Borrowed(const T& value) noexcept : value_(&value) {}  // NOLINT: converts on purpose
  Borrowed(const T&& value) = delete;

  /// The value; `T()` where none is lent.
  [[nodiscard]] T value() const { return value_ ? *value_ : T(); }

 private:
  const T* value_ = nullptr;
};

}  // namespace vellora
