#pragma once

// For the source files that read or write compact layouts: they include this in place of JsonCodec.h.

#include "vellora/Models/CompactLayoutFieldCodec.h"
#include "vellora/Models/ObjectCompactLayoutInfo.h"

namespace vellora::json {

template <>
struct OwnForm<ObjectCompactLayoutInfo> {
  /// Reads either form.
  [[nodiscard]] static bool decode(const Reader& reader, ObjectCompactLayoutInfo& out);

  /// Writes the library's own form.
  [[nodiscard]] static bool encode(const ObjectCompactLayoutInfo& value, Writer& writer);
};

}  // namespace vellora::json
