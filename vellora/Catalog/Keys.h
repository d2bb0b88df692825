#pragma once

#include <concepts>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// What a question is about: ids of records, or API names of object types. It is made of a list, or of the
/// keys themselves:
///
///     catalog.types({"Account", "Contact"})
///     catalog.types(names)
///
/// Not of an `std::initializer_list`: g++ 12 takes none within a `co_await`.
///
/// Ownership: a plain value.
class VELLORA_EXPORT Keys {
 public:
  Keys() = default;
  Keys(std::vector<std::string> keys) : list_(std::move(keys)) {}  // NOLINT: converts on purpose

  template <class... Key>
  requires(sizeof...(Key) > 0 && (std::convertible_to<const Key&, std::string_view> && ...))
      Keys(const Key&... keys) {  // NOLINT: converts on purpose
    list_.reserve(sizeof...(Key));
    (list_.emplace_back(std::string_view(keys)), ...);
  }

  [[nodiscard]] const std::vector<std::string>& list() const noexcept { return list_; }

 private:
  std::vector<std::string> list_;
};

}  // namespace vellora
