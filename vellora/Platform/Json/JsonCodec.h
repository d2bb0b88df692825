#pragma once

// The definitions behind `Json.h`, for the source files of records: it brings the parser's headers with it,
// so no other header includes this one. A record's source file ends in what its users link against:
//
//     VELLORA_JSON_CODECS(SObject)

#include <algorithm>
#include <array>
#include <cmath>
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
#include "vellora/Platform/Json/JsonDocument.h"
#include "vellora/Platform/Json/JsonDuplicateKeys.h"
#include "vellora/Platform/Json/JsonReader.h"
#include "vellora/Platform/Json/JsonWriter.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::json {

using Element = simdjson::dom::element;

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
// or the `writer` that they were given.

template <>
struct Codec<std::string> {
  static bool decode(Element value, std::string& out, DecodingFailure& failure) {
    std::string_view text;
    if (value.get(text)) return failure.typeMismatch("a string");
    out = text;
    return true;
  }
  static bool encode(const std::string& value, Writer& writer) { return writer.text(value); }
};

template <>
struct Codec<bool> {
  static bool decode(Element value, bool& out, DecodingFailure& failure) {
    return !value.get(out) || failure.typeMismatch("a boolean");
  }
  static bool encode(bool value, Writer& writer) { return writer.boolean(value); }
};

template <>
struct Codec<std::int64_t> {
  static bool decode(Element value, std::int64_t& out, DecodingFailure& failure) {
    return !value.get(out) || settled(value, out, failure) || failure.typeMismatch("an integer");
  }
  static bool encode(std::int64_t value, Writer& writer) { return writer.integer(value); }

 private:
  // The parser rounds what is written with a fraction or an exponent. Its digits tell whether it is whole.
  static bool settled(Element value, std::int64_t& out, const DecodingFailure& failure) {
    if (!value.is_double()) return false;
    failure.document().settleNumbers();
    return !value.get(out);
  }
};

template <>
struct Codec<double> {
  static bool decode(Element value, double& out, DecodingFailure& failure) {
    if (value.get(out)) return failure.typeMismatch("a number");
    return std::isfinite(out) || failure.typeMismatch("a number within the range of a double");
  }
  static bool encode(double value, Writer& writer) { return writer.number(value); }
};

template <>
struct Codec<Date> {
  static bool decode(Element value, Date& out, DecodingFailure& failure) {
    double seconds = 0;
    if (!Codec<double>::decode(value, seconds, failure)) return false;
    out = Date::sinceReferenceDate(seconds);
    return true;
  }
  static bool encode(Date value, Writer& writer) { return writer.number(value.secondsSinceReferenceDate()); }
};

template <class T>
struct Codec<std::optional<T>> {
  static bool decode(Element value, std::optional<T>& out, DecodingFailure& failure) {
    if (!value.is_null()) return Codec<T>::decode(value, out.emplace(), failure);
    out.reset();
    return true;
  }
  static bool encode(const std::optional<T>& value, Writer& writer) {
    return value ? Codec<T>::encode(*value, writer) : writer.null();
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
    simdjson::dom::object members;
    if (value.get(members)) return failure.typeMismatch("an object");
    out.clear();
    const auto find = [&](std::string_view key, auto offer) {
      const auto [entry, isFree] = out.try_emplace(std::string(key));
      return offer(entry, isFree);
    };
    const auto decodeMember = [&](auto entry, std::string_view key, Element member) {
      return Codec<T>::decode(member, entry->second, failure) || failure.under(key);
    };
    return forEachFirstMember(members, find, decodeMember);
  }
  static bool encode(const std::map<std::string, T>& values, Writer& writer) {
    if (!writer.beginObject()) return false;
    for (const auto& [key, value] : values) {
      if (!writer.key(key)) return false;
      if (!Codec<T>::encode(value, writer)) return writer.under(key);
    }
    return writer.endObject();
  }
};

template <class T>
struct Codec<std::shared_ptr<T>> {
  static bool decode(Element value, std::shared_ptr<T>& out, DecodingFailure& failure) {
    out = std::make_shared<T>();
    return Codec<T>::decode(value, *out, failure);
  }
  static bool encode(const std::shared_ptr<T>& value, Writer& writer) {
    return value ? Codec<T>::encode(*value, writer) : writer.fail(EncodingError::Kind::noValue);
  }
};

template <Record T>
struct Codec<T> {
  static bool decode(Element value, T& out, DecodingFailure& failure) {
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
  return Codec<T>::decode(value_, out, *failure_);
}

template <class T>
bool Reader::member(std::string_view key, T& out) const {
  simdjson::dom::object members;
  if (value_.get(members)) return failure_->typeMismatch("an object");
  if (const auto found = firstMember(members, key)) {
    return Codec<T>::decode(*found, out, *failure_) || failure_->under(key);
  }
  if constexpr (isOptional<T>) {
    out.reset();
    return true;
  } else {
    return failure_->missingKey(key);
  }
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
  if constexpr (isOptional<T>) {
    if (!value) return true;
  }
  if (!this->key(key)) return false;
  return Codec<T>::encode(value, *this) || under(key);
}

template <Record T>
bool Writer::members(const T& record) {
  const auto writeField = [&](const auto& field) {
    return member(field.key, std::invoke(field.member, record));
  };
  return std::apply([&](const auto&... field) { return (writeField(field) && ...); }, T::fields());
}

template <class T>
bool Writer::write(const T& value) {
  return Codec<T>::encode(value, *this);
}

template <class T>
Result<T> decode(const Data& text) {
  Result<T> result{T{}};  // decoded into where the caller has it
  Document document;
  if (auto error = document.parse(text)) {
    result = Error(*std::move(error));
  } else if (DecodingFailure failure(document); !Codec<T>::decode(document.root(), result.value(), failure)) {
    result = Error(failure.error());
  }
  return result;
}

template <class T>
Result<Data> encode(const T& value) {
  Writer writer;
  if (!Codec<T>::encode(value, writer)) return Error(writer.error());
  return writer.data();
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
