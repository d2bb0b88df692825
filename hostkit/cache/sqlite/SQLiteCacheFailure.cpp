#include "hostkit/cache/sqlite/SQLiteCacheFailure.h"

namespace vellora::hostkit {

std::string SQLiteCacheFailure::localizedDescription() const {
  const std::string action = operation == Operation::reading ? "read" : "written to";
  if (error.detail.empty()) return error.localizedDescription();
  return "The cache file \"" + error.path + "\" could not be " + action + " (" + error.detail + ").";
}

}  // namespace vellora::hostkit
