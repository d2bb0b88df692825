#include "vellora/Platform/Json/JsonForms.h"

#include <cstddef>

#include "vellora/Platform/Json/JsonDocument.h"
#include "vellora/Platform/Json/JsonDuplicateKeys.h"

namespace vellora::json {

bool encodeFields(std::span<const EncodedField> fields, const void* const* values, Writer& writer) {
  for (std::size_t index = 0; index < fields.size(); ++index) {
    const auto& [key, form] = fields[index];
    if (form->isAbsent != nullptr && form->isAbsent(values[index])) continue;
    if (!writer.key(key)) return false;
    if (!form->encode(values[index], writer)) return writer.under(key);
  }
  return true;
}

bool decodeMember(Element value, const DecodedField& field, void* out, DecodingFailure& failure) {
  simdjson::dom::object members;
  if (value.get(members)) return failure.typeMismatch("an object");
  if (const auto found = firstMember(members, field.key)) {
    return field.form->decode(*found, out, failure) || failure.under(field.key);
  }
  if (field.form->makeAbsent == nullptr) return failure.missingKey(field.key);
  field.form->makeAbsent(out);
  return true;
}

bool decodeMap(Element value, const DecodedMap& form, void* map, DecodingFailure& failure) {
  simdjson::dom::object members;
  if (value.get(members)) return failure.typeMismatch("an object");
  const auto find = [&](std::string_view key, auto offer) {
    void* const added = form.add(map, key);
    return offer(added, added != nullptr);
  };
  const auto decodeEntry = [&](void* entry, std::string_view key, Element member) {
    return form.element->decode(member, entry, failure) || failure.under(key);
  };
  return forEachFirstMember(members, find, decodeEntry);
}

std::optional<Error> decodeText(const Data& text, const DecodingForm& form, void* out) {
  Document document;
  if (auto error = document.parse(text)) return *std::move(error);
  DecodingFailure failure(document);
  if (!form.decode(document.root(), out, failure)) return failure.error();
  return std::nullopt;
}

Result<Data> encodeText(const EncodingForm& form, const void* value) {
  Writer writer;
  if (!form.encode(value, writer)) return Error(writer.error());
  return writer.data();
}

}  // namespace vellora::json
