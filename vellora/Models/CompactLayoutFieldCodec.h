#pragma once

// For the source files that read or write compact layout fields: they include this in place of JsonCodec.h.

#include <memory>

#include "vellora/Models/CompactLayoutField.h"
#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora::json {

/// Reads the field's `Content` first and constructs the field from that, because most members are constant.
template <>
struct Codec<std::shared_ptr<CompactLayoutField>> {
  static bool decode(Element value, std::shared_ptr<CompactLayoutField>& out, DecodingFailure& failure);
  static bool encode(const std::shared_ptr<CompactLayoutField>& value, Writer& writer);
};

}  // namespace vellora::json
