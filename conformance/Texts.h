#pragma once

#include <optional>
#include <string>
#include <vector>

#include "vellora/Platform/Values/Data.h"

namespace vellora::conformance {

/// Bytes as a text, which GoogleTest shows where it would show an object's memory of a `Data`.
inline std::string text(const Data& data) {
  return std::string(data.view());
}

/// As above; absent where there are no bytes at all.
inline std::optional<std::string> text(const std::optional<Data>& data) {
  return data ? std::optional(text(*data)) : std::nullopt;
}

inline std::vector<std::string> texts(const std::vector<Data>& blobs) {
  std::vector<std::string> all;
  all.reserve(blobs.size());
  for (const Data& one : blobs) all.push_back(text(one));
  return all;
}

}  // namespace vellora::conformance
