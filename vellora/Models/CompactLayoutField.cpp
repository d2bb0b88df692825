#include "vellora/Models/CompactLayoutField.h"

#include <algorithm>
#include <utility>

#include "vellora/Models/CompactLayoutFieldCodec.h"

namespace vellora {

CompactLayoutField::CompactLayoutField(Content content)
    : apiName(std::move(content.apiName)),
      fieldType(std::move(content.fieldType)),
      label(std::move(content.label)),
      referenceTo(std::move(content.referenceTo)),
      relationshipName(std::move(content.relationshipName)),
      htmlFormatted(content.htmlFormatted),
      layoutFields(std::move(content.layoutFields)) {}

bool haveEqualContents(const CompactLayoutFields& left, const CompactLayoutFields& right) {
  return std::equal(
      left.begin(), left.end(), right.begin(), right.end(),
      [](const auto& one, const auto& other) { return one == other || (one && other && *one == *other); });
}

bool operator==(const CompactLayoutField& left, const CompactLayoutField& right) {
  const auto plainMembers = [](const CompactLayoutField& field) {
    return std::tie(field.apiName, field.fieldType, field.label, field.referenceTo, field.relationshipName,
                    field.htmlFormatted);
  };
  if (plainMembers(left) != plainMembers(right)) return false;
  if (!left.layoutFields || !right.layoutFields) return !left.layoutFields && !right.layoutFields;
  return haveEqualContents(*left.layoutFields, *right.layoutFields);
}

bool json::Codec<std::shared_ptr<CompactLayoutField>>::decode(Element value,
                                                              std::shared_ptr<CompactLayoutField>& out,
                                                              DecodingFailure& failure) {
  CompactLayoutField::Content content;
  if (!Codec<CompactLayoutField::Content>::decode(value, content, failure)) return false;
  out = std::make_shared<CompactLayoutField>(std::move(content));
  return true;
}

bool json::Codec<std::shared_ptr<CompactLayoutField>>::encode(
    const std::shared_ptr<CompactLayoutField>& value, Writer& writer) {
  return value ? Codec<CompactLayoutField>::encode(*value, writer)
               : writer.fail(EncodingError::Kind::noValue);
}

VELLORA_JSON_CODECS(CompactLayoutField::Content)
VELLORA_JSON_CODECS(std::shared_ptr<CompactLayoutField>)
template Result<Data> json::encode(const CompactLayoutField& value);

}  // namespace vellora
