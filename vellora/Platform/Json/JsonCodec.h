#pragma once

// The definitions behind `Json.h`, for the source files of records: it brings the parser's headers with it,
// so no other header includes this one. A record's source file ends in what its users link against:
//
//     VELLORA_JSON_CODECS(SObject)

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Json/JsonDuplicateKeys.h"
#include "vellora/Platform/Json/JsonForms.h"
#include "vellora/Platform/Json/JsonReader.h"
#include "vellora/Platform/Json/JsonWriter.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::json {

/// A record whose JSON form is not that of its fields.
template <class T>
concept HasOwnForm = Record<T> && T::hasOwnJsonForm;

/// How a record with a form of its own is read and written. Specialised for each of them, in its source file,
/// or in a header beside it where the sources of other records read or write it as well:
///
///     template <>
///     struct OwnForm<Period> {
///       static bool decode(const Reader& reader, Period& out);
///       static bool encode(const Period& value, Writer& writer);  // writes the members of an object
///     };
template <class T>
struct OwnForm;

template <class T>
inline constexpr bool isOptional = false;
template <class T>
inline constexpr bool isOptional<std::optional<T>> = true;

// Of each codec, `decode` and `encode` return whether they succeeded, and leave the reason with the `failure`
// or the `writer` that they were given. Lists and records, of which a text has thousands, are read by code
// for their types. All else is read and written by the functions of `JsonForms.h`, which are compiled once.

/// The forms of the values of type `T`.
template <class T>
constexpr DecodingForm makeDecodingForm() {
  DecodingForm form{.decode = [](Element value, void* out, DecodingFailure& failure) {
    return Codec<T>::decode(value, *static_cast<T*>(out), failure);
  }};
  if constexpr (isOptional<T>) form.makeAbsent = [](void* out) { static_cast<T*>(out)->reset(); };
  return form;
}
template <class T>
inline constexpr DecodingForm decodingOf = makeDecodingForm<T>();

template <class T>
constexpr EncodingForm makeEncodingForm() {
  EncodingForm form{.encode = [](const void* value, Writer& writer) {
    return Codec<T>::encode(*static_cast<const T*>(value), writer);
  }};
  if constexpr (isOptional<T>)
    form.isAbsent = [](const void* value) { return !*static_cast<const T*>(value); };
  return form;
}
template <class T>
inline constexpr EncodingForm encodingOf = makeEncodingForm<T>();

/// One row of a record's table without its types.
template <class Record, class Member>
constexpr EncodedField encoded(const Field<Record, Member>& field) {
  return {field.key, &encodingOf<std::remove_cvref_t<std::invoke_result_t<Member Record::*, const Record&>>>};
}

template <>
struct VELLORA_EXPORT Codec<std::string> {
  static bool decode(Element value, std::string& out, DecodingFailure& failure);
  static bool encode(const std::string& value, Writer& writer);
};

template <>
struct VELLORA_EXPORT Codec<bool> {
  static bool decode(Element value, bool& out, DecodingFailure& failure);
  static bool encode(bool value, Writer& writer);
};

template <>
struct VELLORA_EXPORT Codec<std::int64_t> {
  static bool decode(Element value, std::int64_t& out, DecodingFailure& failure);
  static bool encode(std::int64_t value, Writer& writer);
};

template <>
struct VELLORA_EXPORT Codec<double> {
  static bool decode(Element value, double& out, DecodingFailure& failure);
  static bool encode(double value, Writer& writer);
};

template <>
struct VELLORA_EXPORT Codec<Date> {
  static bool decode(Element value, Date& out, DecodingFailure& failure);
  static bool encode(Date value, Writer& writer);
};

template <class T>
struct Codec<std::optional<T>> {
  static bool decode(Element value, std::optional<T>& out, DecodingFailure& failure) {
    if (!value.is_null()) return decodingOf<T>.decode(value, &out.emplace(), failure);
    out.reset();
    return true;
  }
  static bool encode(const std::optional<T>& value, Writer& writer) {
    return value ? encodingOf<T>.encode(&*value, writer) : writer.null();
  }
};

template <class T>
struct Codec<std::vector<T>> {
  static bool decode(Element value, std::vector<T>& out, DecodingFailure& failure) {
    simdjson::dom::array elements;
    if (value.get(elements)) return failure.typeMismatch("an array");
    out.clear();
    out.reserve(std::min(elements.size(), largestReserve));
    for (const Element element : elements) {
      if (!Codec<T>::decode(element, out.emplace_back(), failure)) return failure.under(out.size() - 1);
    }
    return true;
  }
  static bool encode(const std::vector<T>& values, Writer& writer) {
    if (!writer.beginArray()) return false;
    for (std::size_t index = 0; index < values.size(); ++index) {
      if (!Codec<T>::encode(values[index], writer)) return writer.under(index);
    }
    return writer.endArray();
  }

 private:
  // A hostile list of ten million zeroes must not claim the memory of ten million records before its first
  // element fails. So memory for 1 MiB of elements is reserved at most; longer lists grow as they are read.
  static constexpr std::size_t largestReserve = (std::size_t{1} << 20U) / sizeof(T) + 1;
};

template <class T>
struct Codec<std::map<std::string, T>> {
  static bool decode(Element value, std::map<std::string, T>& out, DecodingFailure& failure) {
    static constexpr DecodedMap form{&add, &decodingOf<T>};
    out.clear();
    return decodeMap(value, form, &out, failure);
  }
  static bool encode(const std::map<std::string, T>& values, Writer& writer) {
    if (!writer.beginObject()) return false;
    for (const auto& [key, value] : values) {
      if (!writer.key(key)) return false;
      if (!encodingOf<T>.encode(&value, writer)) return writer.under(key);
    }
    return writer.endObject();
  }

 private:
  static void* add(void* map, std::string_view key) {
    const auto [entry, isNew] = static_cast<std::map<std::string, T>*>(map)->try_emplace(std::string(key));
    return isNew ? &entry->second : nullptr;
  }
};

template <class T>
struct Codec<std::shared_ptr<T>> {
  static bool decode(Element value, std::shared_ptr<T>& out, DecodingFailure& failure) {
    out = std::make_shared<T>();
    return decodingOf<T>.decode(value, out.get(), failure);
  }
  static bool encode(const std::shared_ptr<T>& value, Writer& writer) {
    return value ? encodingOf<T>.encode(value.get(), writer) : writer.fail(EncodingError::Kind::noValue);
  }
};

template <Record T>
struct Codec<T> {
  // Called, not repeated, by whatever has such records in it: as a member, in lists, in dictionaries.
  [[gnu::noinline]] static bool decode(Element value, T& out, DecodingFailure& failure) {
    if constexpr (HasOwnForm<T>) {
      return OwnForm<T>::decode(Reader(value, failure), out);
    } else {
      return decodeFields(value, out, failure, std::make_index_sequence<count>());
    }
  }
  static bool encode(const T& value, Writer& writer) {
    if (!writer.beginObject()) return false;
    if constexpr (HasOwnForm<T>) {
      if (!OwnForm<T>::encode(value, writer)) return false;
    } else {
      if (!writer.members(value)) return false;
    }
    return writer.endObject();
  }

 private:
  // The table by which fields are set. It stands apart where `fields` has a getter in place of a member.
  static constexpr auto table() {
    if constexpr (requires { T::decodedFields(); }) {
      return T::decodedFields();
    } else {
      return T::fields();
    }
  }

  static constexpr std::size_t count = std::tuple_size_v<decltype(T::fields())>;

  struct Place {
    Element value;
    bool isTaken = false;
  };

  // For each field, the place of the member that belongs to it; not taken where the object has none.
  using Found = std::array<Place, count>;

  template <std::size_t... I>
  static bool decodeFields(Element value, T& out, DecodingFailure& failure, std::index_sequence<I...>) {
    simdjson::dom::object members;
    if (value.get(members)) return failure.typeMismatch("an object");
    Found found;
    const auto find = [&](std::string_view key, auto offer) {
      bool goesOn = true;
      static_cast<void>(((isKeyOf<I>(key) && (goesOn = offer(&found[I], !found[I].isTaken), true)) || ...));
      return goesOn;
    };
    std::size_t left = count;
    const auto take = [&left](Place* place, std::string_view, Element member) {
      *place = {member, true};
      return --left > 0;  // once each field has its first member, the rest of the object is skipped
    };
    static_cast<void>(forEachFirstMember(members, find, take));
    return (decodeField<I>(found, out, failure) && ...);
  }

  template <std::size_t I>
  static bool isKeyOf(std::string_view key) {
    constexpr auto field = std::get<I>(table());
    // A length that the compiler knows makes this a few loads; == on views would call memcmp.
    constexpr std::size_t length = field.key.size();
    return key.size() == length && std::memcmp(key.data(), field.key.data(), length) == 0;
  }

  template <std::size_t I>
  static bool decodeField(const Found& found, T& out, DecodingFailure& failure) {
    constexpr auto field = std::get<I>(table());
    auto& member = out.*field.member;
    using Member = std::remove_reference_t<decltype(member)>;
    if (found[I].isTaken) {
      return Codec<Member>::decode(found[I].value, member, failure) || failure.under(field.key);
    }
    if constexpr (isOptional<Member>) {
      member.reset();
      return true;
    } else {
      return failure.missingKey(field.key);
    }
  }
};

template <class T>
bool Reader::read(T& out) const {
  return decodingOf<T>.decode(value_, &out, *failure_);
}

template <class T>
bool Reader::member(std::string_view key, T& out) const {
  return decodeMember(value_, {key, &decodingOf<T>}, &out, *failure_);
}

template <class T>
bool Reader::tryMember(std::string_view key, T& out) const {
  T attempt{};
  if (!member(key, attempt)) {
    failure_->clear();
    return false;
  }
  out = std::move(attempt);
  return true;
}

template <class Visit>
bool Reader::forEachMember(Visit visit) const {
  simdjson::dom::object members;
  if (value_.get(members)) return failure_->typeMismatch("an object");
  std::set<std::string_view> visited;
  const auto find = [&](std::string_view key, auto offer) {
    const auto [entry, isFree] = visited.insert(key);
    return offer(entry, isFree);
  };
  const auto visitMember = [&](auto, std::string_view key, Element member) {
    return visit(key, Reader(member, *failure_)) || failure_->under(key);
  };
  return forEachFirstMember(members, find, visitMember);
}

template <class T>
bool Writer::member(std::string_view key, const T& value) {
  const EncodedField field{key, &encodingOf<T>};
  const void* const address = &value;
  return encodeFields({&field, 1}, &address, *this);
}

template <Record T>
bool Writer::members(const T& record) {
  static constexpr auto fields = T::fields();
  const auto write = [&]<std::size_t... I>(std::index_sequence<I...>) {
    static constexpr std::array rows{encoded(std::get<I>(fields))...};
    const std::array<const void*, sizeof...(I)> values{&std::invoke(std::get<I>(fields).member, record)...};
    return encodeFields(rows, values.data(), *this);
  };
  return write(std::make_index_sequence<std::tuple_size_v<decltype(T::fields())>>());
}

template <class T>
bool Writer::write(const T& value) {
  return encodingOf<T>.encode(&value, *this);
}

template <class T>
Result<T> decode(const Data& text) {
  Result<T> result{T{}};  // decoded into where the caller has it
  if (auto error = decodeText(text, decodingOf<T>, &result.value())) {
    // Anew, and not assigned: an assignment is more code for each type.
    static_assert(std::is_nothrow_move_constructible_v<Error>);  // so there is a result in any case
    std::destroy_at(&result);
    std::construct_at(&result, *std::move(error));
  }
  return result;
}

template <class T>
Result<Data> encode(const T& value) {
  return encodeText(encodingOf<T>, &value);
}

}  // namespace vellora::json

/// Defines what reads and writes a type: alone, in a list, in a dictionary by name. To be used in namespace
/// vellora.
// NOLINTBEGIN(bugprone-macro-parentheses): a type stands in no parentheses
#define VELLORA_JSON_CODECS(Type)                                              \
  template Result<Type> json::decode(const Data& text);                        \
  template Result<std::vector<Type>> json::decode(const Data& text);           \
  template Result<std::map<std::string, Type>> json::decode(const Data& text); \
  template Result<Data> json::encode(const Type& value);                       \
  template Result<Data> json::encode(const std::vector<Type>& values);         \
  template Result<Data> json::encode(const std::map<std::string, Type>& values);
// NOLINTEND(bugprone-macro-parentheses)
