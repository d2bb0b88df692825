#include "vellora/Catalog/Missing.h"

namespace vellora {

std::string Missing::text() const {
  const std::string detail = failure_ ? ": " + failure_->text() : std::string();
  switch (why_) {
    case Why::unknown:
      return "unknown to the server";
    case Why::failed:
      return "could not be asked" + detail;
    case Why::notAsked:
      return "not asked" + detail;
    case Why::notCached:
      return "not in the cache";
    case Why::timedOut:
      return "timed out";
    case Why::cancelled:
      break;
  }
  return "cancelled";
}

}  // namespace vellora
