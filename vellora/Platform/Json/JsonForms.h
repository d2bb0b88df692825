#pragma once

#include <simdjson.h>

#include <optional>
#include <span>
#include <string_view>

#include "vellora/Platform/Json/DecodingFailure.h"
#include "vellora/Platform/Json/JsonWriter.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Values/Export.h"
#include "vellora/Platform/Values/Result.h"

// What reads and writes values without knowing their types, so that it is compiled once and not for each
// type. A value passes it by its address. The codecs of `JsonCodec.h` are the shells that know the types:
// they make the forms below, which alone turn addresses back into values.
//
// What returns a bool returns whether it succeeded, and leaves the reason with the `failure` or the `writer`
// that it was given.

namespace vellora::json {

using Element = simdjson::dom::element;

/// How a value of some type is read.
struct DecodingForm {
  bool (*decode)(Element value, void* out, DecodingFailure& failure);
  void (*makeAbsent)(void* out) = nullptr;  // null for what is no `std::optional`
};

/// How a value of some type is written.
struct EncodingForm {
  bool (*encode)(const void* value, Writer& writer);
  bool (*isAbsent)(const void* value) = nullptr;  // null for what is no `std::optional`
};

/// A member that is read, and one that is written.
struct DecodedField {
  std::string_view key;
  const DecodingForm* form;
};
struct EncodedField {
  std::string_view key;
  const EncodingForm* form;
};

/// How a dictionary of values of some type is read.
struct DecodedMap {
  void* (*add)(void* map, std::string_view key);  // null where the key is there
  const DecodingForm* element;
};

/// Writes members of the current object: `values` has the address of each field's value. An absent one is
/// left out.
VELLORA_EXPORT bool encodeFields(std::span<const EncodedField> fields, const void* const* values,
                                 Writer& writer);

/// Reads one member of an object.
VELLORA_EXPORT bool decodeMember(Element value, const DecodedField& field, void* out,
                                 DecodingFailure& failure);

/// Reads into a dictionary that is empty.
VELLORA_EXPORT bool decodeMap(Element value, const DecodedMap& form, void* map, DecodingFailure& failure);

/// Reads a whole text. Returns the failure; no value means success.
VELLORA_EXPORT std::optional<Error> decodeText(const Data& text, const DecodingForm& form, void* out);

/// Writes a whole text.
VELLORA_EXPORT Result<Data> encodeText(const EncodingForm& form, const void* value);

}  // namespace vellora::json
