#pragma once

#include <type_traits>
#include <utility>
#include <variant>

#include "vellora/Platform/Publishers/Publisher.h"

namespace vellora {

/// What the lookup of one key comes to: the value itself where the cache has it, else a producer that will
/// yield it. What is there at once goes through the steps of a lookup by plain calls, without a pipeline.
///
///     Looked<std::optional<SObject>> type = sObjectForName("Account");
///     return std::move(type).map([](auto found) { return NameTuple{"Account", std::move(found)}; });
///
/// Ownership: a plain value; owns the value, or shares the recipe.
///
/// Threads: like any value.
template <class T>
class Looked {
 public:
  Looked(T value) : way_(std::in_place_index<0>, std::move(value)) {}  // NOLINT: converts on purpose
  Looked(Publisher<T> later)
      : way_(std::in_place_index<1>, std::move(later)) {}  // NOLINT: converts on purpose

  /// The value when it is there, else null.
  [[nodiscard]] T* value() noexcept { return std::get_if<0>(&way_); }

  /// The same behind `transform`, which is called now when the value is there.
  template <class F>
  [[nodiscard]] auto map(F transform) && {
    using U = std::remove_cvref_t<std::invoke_result_t<F&, T>>;
    return value() ? Looked<U>(transform(std::move(*value())))
                   : Looked<U>(std::get<1>(way_).map(std::move(transform)));
  }

  /// As a producer in either case.
  [[nodiscard]] Publisher<T> publisher() && {
    return value() ? Publisher<T>::just(std::move(*value())) : std::get<1>(std::move(way_));
  }

 private:
  std::variant<T, Publisher<T>> way_;
};

}  // namespace vellora
