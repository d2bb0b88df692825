#pragma once

#include <concepts>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "vellora/Platform/Values/Export.h"
#include "vellora/Platform/Values/RetryAdvice.h"

namespace vellora {

/// What a type needs to travel as an `Error`: it tells a person what went wrong, and can be copied.
///
///     struct FolderNetworkError {
///       std::string path;
///       std::string localizedDescription() const { return "There is no answer for " + path + "."; }
///     };
///
/// Copying is asked last: a `Result` can be made of an `Error`, and whether it is copyable would otherwise
/// depend on itself.
template <class E>
concept ErrorValue = requires(const E& error) {
  { error.localizedDescription() } -> std::convertible_to<std::string>;
}
&&std::copy_constructible<E>;

/// An error value whose textual form differs from its localized description. An enumeration is one: its
/// textual form is the case, `noData`, its localized description a sentence.
template <class E>
concept DescribedErrorValue = ErrorValue<E> && requires(const E& error) {
  { error.description() } -> std::convertible_to<std::string>;
};

/// An error value that can tell whether trying again may help.
template <class E>
concept AdvisingErrorValue = ErrorValue<E> && requires(const E& error) {
  { error.retryAdvice() } -> std::convertible_to<std::optional<RetryAdvice>>;
};

/// Any error, as a value: a handle to an immutable error of some concrete type.
///
/// An error of your own becomes one where one is wanted, so that a host can pass it on as it is:
///
///     completion(std::nullopt, FolderNetworkError{url}, std::nullopt);
///
/// Whoever gets one asks for the types that it knows, and shows the text of all others:
///
///     if (const auto* decoding = error.as<DecodingError>()) return decoding->kind();
///     log(error.localizedDescription());
///
/// Ownership: copies share the error; copying is cheap.
///
/// Threads: immutable, hence safe to read from several threads. The concrete type must be as safe.
///
/// Errors: making one takes memory, and throws `std::bad_alloc` when there is none; copying does not.
class VELLORA_EXPORT Error {
 public:
  /// Holds `error`. Converts on purpose: a function that returns an `Error` may return any error value.
  // The first condition stands first: whether an `Error` can be copied must not depend on the answer itself.
  template <class E>
  requires(!std::same_as<std::remove_cvref_t<E>, Error>) && ErrorValue<E> Error(E error)
      : holder_(std::make_shared<const Holder<E>>(std::move(error))) {}  // NOLINT: converts on purpose

  /// One sentence for a person. Types without texts of their own give the platform's default, which
  /// `defaultErrorDescription` words.
  [[nodiscard]] std::string localizedDescription() const { return holder_->localizedDescription(); }

  /// The error's textual form, as it stands inside other textual forms: `noData`, `other(noData)`. Types that
  /// have none give their localized description.
  [[nodiscard]] std::string description() const { return holder_->description(); }

  /// That trying again may help, and when; absent when it doesn't, and for types that don't tell.
  [[nodiscard]] std::optional<RetryAdvice> retryAdvice() const { return holder_->retryAdvice(); }

  /// The concrete error when it is an `E`, else null; a base class of it is not found. Valid as long as this
  /// handle or a copy lives.
  template <class E>
  [[nodiscard]] const E* as() const noexcept {
    return holder_->kind() == kindOf<E>() ? &static_cast<const Holder<E>&>(*holder_).error : nullptr;
  }

 private:
  /// Tells a type from all others. The mark does so throughout what is linked together, whether or not its
  /// sources have run-time type information, and whichever of their copies of a function the linker keeps.
  /// The type does so between libraries that a program loads one by one, which may have a mark each.
  struct Kind {
    const void* mark;
    const std::type_info* type;  // null in a source without run-time type information

    friend bool operator==(const Kind& one, const Kind& other) noexcept {
      return one.mark == other.mark || (one.type && other.type && *one.type == *other.type);
    }
  };

  /// Of each type only the address counts. Not constant, since a linker may fold constants that are alike.
  template <class E>
  static inline char mark = 0;

  template <class E>
  [[nodiscard]] static Kind kindOf() noexcept {
#ifdef __cpp_rtti
    return {&mark<E>, &typeid(E)};
#else
    return {&mark<E>, nullptr};
#endif
  }

  struct Base {
    virtual ~Base() = default;
    [[nodiscard]] virtual std::string localizedDescription() const = 0;
    [[nodiscard]] virtual std::string description() const = 0;
    [[nodiscard]] virtual std::optional<RetryAdvice> retryAdvice() const = 0;
    [[nodiscard]] virtual Kind kind() const noexcept = 0;
  };

  template <class E>
  struct Holder final : Base {
    explicit Holder(E value) : error(std::move(value)) {}
    [[nodiscard]] std::string localizedDescription() const override { return error.localizedDescription(); }
    [[nodiscard]] std::string description() const override {
      if constexpr (DescribedErrorValue<E>) {
        return error.description();
      } else {
        return error.localizedDescription();
      }
    }
    [[nodiscard]] std::optional<RetryAdvice> retryAdvice() const override {
      if constexpr (AdvisingErrorValue<E>) {
        return error.retryAdvice();
      } else {
        return std::nullopt;
      }
    }
    [[nodiscard]] Kind kind() const noexcept override { return kindOf<E>(); }
    E error;
  };

  std::shared_ptr<const Base> holder_;
};

/// The platform's description of an error case that has no text of its own:
///
///     The operation could not be completed. (TypeName.caseName)
///
/// and with a payload, whose localized description follows the case:
///
///     The operation could not be completed. (TypeName.caseName: There is no answer for /theme.)
[[nodiscard]] VELLORA_EXPORT std::string defaultErrorDescription(
    std::string_view typeName, std::string_view caseName, const std::optional<Error>& payload = std::nullopt);

}  // namespace vellora
