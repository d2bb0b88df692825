#include "vellora/Platform/Values/EnumerationError.h"

namespace vellora {

std::string EnumerationError::description() const {
  std::string text(caseName_);
  if (payload_) text.append("(").append(payload_->description()).append(")");
  return text;
}

bool EnumerationError::equals(const EnumerationError& other) const {
  if (caseName_ != other.caseName_ || payload_.has_value() != other.payload_.has_value()) return false;
  return !payload_ || payload_->localizedDescription() == other.payload_->localizedDescription();
}

}  // namespace vellora
