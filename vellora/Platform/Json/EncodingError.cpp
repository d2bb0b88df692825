#include "vellora/Platform/Json/EncodingError.h"

#include "vellora/Platform/Json/Json.h"

namespace vellora {

namespace {

std::string textOf(EncodingError::Kind kind) {
  switch (kind) {
    case EncodingError::Kind::numberNotFinite:
      return "a number that is not finite";
    case EncodingError::Kind::textNotUtf8:
      return "text that is not UTF-8";
    case EncodingError::Kind::keyNotUtf8:
      return "a key that is not UTF-8";
    case EncodingError::Kind::noValue:
      return "a null pointer";
    case EncodingError::Kind::tooDeep:
      break;
  }
  return "values nested deeper than " + std::to_string(json::maximumDepth);
}

}  // namespace

EncodingError::EncodingError(Kind kind, const std::string& path)
    : kind_(kind), description_("cannot write " + textOf(kind) + " at " + path) {}

}  // namespace vellora
