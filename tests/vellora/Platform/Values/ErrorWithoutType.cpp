#include "tests/vellora/Platform/Values/ErrorWithoutType.h"

namespace vellora::tests {

Error errorWithoutType() {
  return ErrorWithoutType();
}

}  // namespace vellora::tests
