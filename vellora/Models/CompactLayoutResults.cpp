#include "vellora/Models/CompactLayoutResults.h"

#include "vellora/Models/ObjectCompactLayoutInfoCodec.h"

namespace vellora {

template <>
struct json::OwnForm<CompactLayoutResults> {
  /// Reads the server's form, whose keys are not looked at.
  static bool decode(const Reader& reader, CompactLayoutResults& out) {
    out.layouts.clear();
    return reader.forEachMember(
        [&out](std::string_view, const Reader& layout) { return layout.read(out.layouts.emplace_back()); });
  }

  static bool encode(const CompactLayoutResults& value, Writer& writer) { return writer.members(value); }
};

VELLORA_JSON_CODECS(CompactLayoutResults)

}  // namespace vellora
