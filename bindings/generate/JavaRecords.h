#pragma once

#include <string>

#include "bindings/generate/RecordTable.h"

namespace vellora::generate {

/// The Java source of a record: an immutable class of the package `vellora` that a `JsonReader` is read into.
[[nodiscard]] std::string javaClass(const RecordType& record);

}  // namespace vellora::generate
