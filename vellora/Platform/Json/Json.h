#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>

#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Export.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::json {

/// One field of a record: the member, its JSON key, and its name in textual forms (the key unless told). What
/// can only be read has its getter in place of a member.
template <class Record, class Member>
struct Field {
  std::string_view key;
  Member Record::*member;
  std::string_view name;
};

/// A field that is named as its key is.
template <class Record, class Member>
constexpr Field<Record, Member> field(std::string_view key, Member Record::*member) {
  return {key, member, key};
}

/// A field whose key is not its name: `field("Id", &Account::id, "id")`.
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
///         return std::tuple(json::field("name", &SObject::name),
///                           json::field("keyPrefix", &SObject::keyPrefix));
///       }
///     };
///
/// A plain member is required, a `std::optional` member is optional. Fields decode in this order and decoding
/// stops at the first failure. A member is a `std::string`, `bool`, `std::int64_t`, `double`, a `Date` (a
/// number of seconds since 2001-01-01 00:00:00 UTC), a record, a `std::shared_ptr` to a record, or a
/// `std::optional`, `std::vector` or `std::map` by string of these.
///
/// A record whose JSON form is not that of its fields has a constant `hasOwnJsonForm` that is true. The table
/// tells its textual form then, and the record's comment tells its JSON form.
template <class T>
concept Record = requires {
  { T::recordName } -> std::convertible_to<std::string_view>;
  T::fields();
};

/// How values of `T` are read and written. It is the library's own; records with private members befriend it.
template <class T>
struct Codec;

/// Objects and arrays nested deeper than this are neither read nor written.
inline constexpr std::size_t maximumDepth = 512;

/// Reads a value of `T` from JSON text.
///
///     const auto type = json::decode<SObject>(Data(std::string(R"({"name":"Account",…})")));
///     if (type) show(type.value().label);
///
/// Strict RFC 8259 over the whole document, nesting up to 512, a UTF-8 byte order mark is skipped. Of
/// duplicate keys the first wins, in records and in dictionaries; unknown keys are ignored; null for an
/// optional is absent. A number is an integer when its value is one, however it is written: 16.0 and 1.6e1
/// are, 16.00000000000000000001 is not. A number may have any size where nobody reads it; where it is read,
/// it has to fit a `std::int64_t` exactly, or the range of a double.
///
/// It is there for every record of the library, for a list of it, and for a dictionary of it by name.
/// A `CompactLayoutField`, which cannot be copied, is read as a `std::shared_ptr` to it.
///
/// Ownership: the value is a copy; `text` need not outlive the call.
///
/// Threads: may be called from several threads at once. Each thread keeps the memory of one parser for its
/// next call, unless a document was so large that keeping it would be a burden.
///
/// Errors: a `DecodingError` that names kind and path; `std::bad_alloc` when there is no memory.
template <class T>
VELLORA_EXPORT Result<T> decode(const Data& text);

/// Gives back the memory of the parser that the calling thread keeps for its next `decode`.
VELLORA_EXPORT void releaseParser() noexcept;

/// `decode` for a text that comes once in hours, such as a download: a parser takes several times the size of
/// its text, and here gives it back at once.
template <class T>
Result<T> decodeOnce(const Data& text) {
  auto value = decode<T>(text);
  releaseParser();
  return value;
}

/// Writes `value` as JSON text without blanks, in field order, absent optionals left out; an absent optional
/// as the whole value, or inside a list or map, is null. Dictionaries are written in the order of their keys,
/// so equal values give equal bytes.
///
///     json::encode(SObject{"Account", {}, "Account", "Accounts", true}).value().view();
///     // {"name":"Account","label":"Account","labelPlural":"Accounts","createable":true}
///
/// It is there for whatever `decode` reads.
///
/// Threads: may be called from several threads at once. `value` must not change meanwhile.
///
/// Errors: an `EncodingError` for what JSON cannot hold: a number that is not finite, text that is not UTF-8,
/// a null pointer, values nested deeper than `decode` accepts. `std::bad_alloc` when there is no memory.
template <class T>
VELLORA_EXPORT Result<Data> encode(const T& value);

}  // namespace vellora::json
