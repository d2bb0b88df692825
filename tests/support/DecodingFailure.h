#pragma once

#include <string>
#include <utility>

#include "vellora/Platform/Json/Json.h"

namespace vellora::tests {

/// What decoding `text` as a `T` says is wrong with it; "decoded" when nothing is.
template <class T>
[[nodiscard]] std::string failureOf(std::string text) {
  const auto result = json::decode<T>(Data(std::move(text)));
  return result ? "decoded" : result.error().localizedDescription();
}

}  // namespace vellora::tests
