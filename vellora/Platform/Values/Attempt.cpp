#include "vellora/Platform/Values/Attempt.h"

#include <new>

namespace vellora::detail {

bool hadMemoryFor(const Attempt& attempt) {
  try {
    attempt.run();
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

void runOrUndo(const Attempt& attempt, const Attempt& undo) {
  try {
    attempt.run();
  } catch (const std::bad_alloc&) {
    undo.run();
    throw;
  }
}

}  // namespace vellora::detail
