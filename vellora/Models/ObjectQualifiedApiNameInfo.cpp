#include "vellora/Models/ObjectQualifiedApiNameInfo.h"

#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora {

bool ObjectQualifiedApiNameInfo::decodeJson(const json::Reader& reader, ObjectQualifiedApiNameInfo& out) {
  if (!reader.member("records", out.records)) return false;
  out.entityApiNames.clear();
  for (const auto& row : out.records) {
    out.entityApiNames.insert_or_assign(row.entityType.entityTypeName, row.qualifiedApiName);
  }
  return true;
}

bool ObjectQualifiedApiNameInfo::encodeJson(json::Writer& writer) const {
  return writer.member("records", records);
}

template Result<ObjectQualifiedApiNameInfo> json::decode(const Data& text);
template Result<Data> json::encode(const ObjectQualifiedApiNameInfo& value);

}  // namespace vellora
