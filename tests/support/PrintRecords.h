#pragma once

#include <ostream>

#include "vellora/Platform/Json/Description.h"

namespace vellora {

/// Lets a failed expectation show a record by its textual form. GoogleTest finds it for records of this
/// namespace; a test with a record in an unnamed namespace says `using vellora::PrintTo;` there.
template <json::Record T>
void PrintTo(const T& record, std::ostream* out) {
  *out << describe(record);
}

}  // namespace vellora
