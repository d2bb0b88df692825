#pragma once

// For the source files that read or write compact layout fields: there it takes the place of JsonCodec.h.

#include <memory>

#include "vellora/Models/CompactLayoutField.h"
#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora::json {

/// Most of a field is fixed once it is constructed, so its content is read first.
template <>
struct Codec<std::shared_ptr<CompactLayoutField>> {
  static bool decode(Element value, std::shared_ptr<CompactLayoutField>& out, DecodingFailure& failure);
  static bool encode(const std::shared_ptr<CompactLayoutField>& value, Writer& writer);
};

}  // namespace vellora::json
