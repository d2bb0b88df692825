#pragma once

#include <string>
#include <string_view>
#include <tuple>

#include "vellora/Platform/Data.h"
#include "vellora/Platform/Result.h"

namespace vellora::json {

/// One field of a record: the member, its JSON key, and its name in textual forms (the key unless told).
template <class Record, class Member>
struct Field {
  std::string_view key;
  Member Record::*member;
  std::string_view name;
};

template <class Record, class Member>
constexpr Field<Record, Member> field(std::string_view key, Member Record::*member) {
  return {key, member, key};
}

template <class Record, class Member>
constexpr Field<Record, Member> field(std::string_view key, Member Record::*member, std::string_view name) {
  return {key, member, name};
}

/// A record that lists its fields once, in their order, for decoding, encoding and printing:
///
///     struct SObject {
///       std::string name;
///       std::optional<std::string> keyPrefix;
///
///       static constexpr std::string_view recordName = "SObject";
///       static constexpr auto fields() {
///         return std::tuple(json::field("name", &SObject::name), json::field("keyPrefix",
///         &SObject::keyPrefix));
///       }
///     };
///
/// A plain member is required, a `std::optional` member is optional. Fields decode in this order and decoding
/// stops at the first failure.
template <class T>
concept Record = requires {
  { T::recordName } -> std::convertible_to<std::string_view>;
  T::fields();
};

/// Reads a value of `T` from JSON text. Fails with a `DecodingError` that names kind and path.
///
/// Strict RFC 8259 over the whole document, nesting up to 512, a UTF-8 byte order mark is skipped. The first
/// of duplicate keys wins, unknown keys are ignored, null for an optional is absent.
///
/// Defined in the source file of each record; the types that can be decoded are those.
template <class T>
Result<T> decode(const Data& text);

/// Writes `value` as JSON text without blanks, in field order, absent optionals left out. Fails with an
/// `EncodingError` for what JSON cannot hold: a number that is not finite, text that is not UTF-8.
template <class T>
Result<Data> encode(const T& value);

}  // namespace vellora::json
