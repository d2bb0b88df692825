#pragma once

#include <string>

#include "vellora/Platform/Values/Result.h"

namespace vellora {

/// What a lookup of several keys has found out about one of them. The error is that key's own: it takes none
/// of the others with it.
///
/// Ownership: a plain value.
template <class T>
struct KeyResult {
  std::string key;
  Result<T> value;
};

}  // namespace vellora
