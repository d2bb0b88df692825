#include "vellora/Models/ObjectQualifiedApiNameInfo.h"

#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora {

template <>
struct json::OwnForm<ObjectQualifiedApiNameInfo> {
  /// Reads the rows, and gathers `entityApiNames` from them.
  static bool decode(const Reader& reader, ObjectQualifiedApiNameInfo& out) {
    if (!reader.member("records", out.records)) return false;
    out.entityApiNames.clear();
    for (const auto& row : out.records) {
      out.entityApiNames.insert_or_assign(row.entityType.entityTypeName, row.qualifiedApiName);
    }
    return true;
  }

  /// Writes the rows alone.
  static bool encode(const ObjectQualifiedApiNameInfo& value, Writer& writer) {
    return writer.member("records", value.records);
  }
};

VELLORA_JSON_CODECS(ObjectQualifiedApiNameInfo::Record::EntityDefinition)
VELLORA_JSON_CODECS(ObjectQualifiedApiNameInfo::Record)
VELLORA_JSON_CODECS(ObjectQualifiedApiNameInfo)

}  // namespace vellora
