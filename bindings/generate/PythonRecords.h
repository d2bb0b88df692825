#pragma once

#include <string>

#include "bindings/generate/RecordTable.h"

namespace vellora::generate {

/// The Python source of all records: one module of frozen dataclasses that are made of decoded JSON.
[[nodiscard]] std::string pythonModule(const RecordTable& table);

}  // namespace vellora::generate
