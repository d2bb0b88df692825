#include "vellora/Platform/Json/DecodingFailure.h"

namespace vellora::json {

bool DecodingFailure::missingKey(std::string_view key) {
  isMissingKey_ = true;
  subject_ = key;
  return false;
}

bool DecodingFailure::typeMismatch(std::string_view expected) {
  isMissingKey_ = false;
  subject_ = expected;
  return false;
}

bool DecodingFailure::under(std::string_view key) {
  path_.under(key);
  return false;
}

bool DecodingFailure::under(std::size_t index) {
  path_.under(index);
  return false;
}

void DecodingFailure::clear() {
  path_.clear();
}

DecodingError DecodingFailure::error() const {
  return isMissingKey_ ? DecodingError::missingKey(subject_, path_.text())
                       : DecodingError::typeMismatch(subject_, path_.text());
}

}  // namespace vellora::json
