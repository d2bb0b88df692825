#include "tests/vellora/Platform/Values/ErrorWithoutType.h"

namespace vellora::tests {

Error errorWithoutType() {
  return ErrorWithoutType();
}

bool isErrorWithoutType(const Error& error) {
  return error.as<ErrorWithoutType>() != nullptr;
}

}  // namespace vellora::tests
