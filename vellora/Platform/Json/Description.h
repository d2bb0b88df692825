#pragma once

#include <concepts>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Date.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// A type that has a textual form of its own, such as `Error` and the enumerations of errors. `describe`
/// shows it as its `description` says.
template <class T>
concept Described = requires(const T& value) {
  { value.description() } -> std::convertible_to<std::string>;
};

namespace detail {

// Each appends to `out` the form that a value has inside another one's: text stands in quotes there, escaped
// so that it can neither end the quotes nor break the line.

// A number in the shortest form that reads back as the same; with ".0" where that looks like an integer.
VELLORA_EXPORT void appendDescription(std::string& out, double value);

// "2023-11-14 22:13:20 +0000", without fractions of a second; outside of the years 1 to 9999 the seconds
// since 1970.
VELLORA_EXPORT void appendDescription(std::string& out, Date value);

// In quotes.
VELLORA_EXPORT void appendDescription(std::string& out, std::string_view value);
inline void appendDescription(std::string& out, const std::string& value) {
  appendDescription(out, std::string_view(value));
}

// Integers of every type but bool, which would convert.
template <std::integral T>
requires(!std::same_as<T, bool>) void appendDescription(std::string& out, T value) {
  out += std::to_string(value);
}

template <std::same_as<bool> T>
void appendDescription(std::string& out, T value) {
  out += value ? "true" : "false";
}

// These four call each other, so they are declared first.
template <class T>
void appendDescription(std::string& out, const std::optional<T>& value);
template <class T>
void appendDescription(std::string& out, const std::shared_ptr<T>& value);
template <class T>
void appendDescription(std::string& out, const std::vector<T>& values);
template <class T>
void appendDescription(std::string& out, const std::map<std::string, T>& values);

template <Described T>
void appendDescription(std::string& out, const T& value) {
  out += value.description();
}

// `SObject(name: "Account", keyPrefix: nil)`: the fields of the table, in its order.
template <class T>
requires(json::Record<T> && !Described<T>) void appendDescription(std::string& out, const T& record) {
  out.append(T::recordName).append("(");
  std::string_view separator;
  const auto append = [&](const auto& field) {
    out.append(separator).append(field.name).append(": ");
    appendDescription(out, std::invoke(field.member, record));
    separator = ", ";
  };
  std::apply([&](const auto&... field) { (append(field), ...); }, T::fields());
  out += ')';
}

// `Optional("001")` or `nil`: what is there can be told from an absent value.
template <class T>
void appendDescription(std::string& out, const std::optional<T>& value) {
  if (!value) {
    out += "nil";
    return;
  }
  out += "Optional(";
  appendDescription(out, *value);
  out += ')';
}

// As what it points to, or `nil`.
template <class T>
void appendDescription(std::string& out, const std::shared_ptr<T>& value) {
  if (value) {
    appendDescription(out, *value);
  } else {
    out += "nil";
  }
}

// `["a", "b"]` or `[]`.
template <class T>
void appendDescription(std::string& out, const std::vector<T>& values) {
  out += '[';
  for (std::size_t index = 0; index < values.size(); ++index) {
    if (index > 0) out += ", ";
    appendDescription(out, values[index]);
  }
  out += ']';
}

// `["a": 1, "b": 2]`, in the order of the keys, or `[:]`: an empty dictionary can be told from an empty list.
template <class T>
void appendDescription(std::string& out, const std::map<std::string, T>& values) {
  if (values.empty()) out += "[:";
  for (auto entry = values.begin(); entry != values.end(); ++entry) {
    out += entry == values.begin() ? "[" : ", ";
    appendDescription(out, std::string_view(entry->first));
    out += ": ";
    appendDescription(out, entry->second);
  }
  out += ']';
}

}  // namespace detail

/// The textual form of a value, as log lines show it. A table of what is given and what comes out:
///
///     std::optional<std::string>("abc")       Optional("abc")
///     std::optional<std::string>()            nil
///     true                                    true
///     16                                      16
///     16.0                                    16.0
///     Date::since1970(1700000000)             2023-11-14 22:13:20 +0000
///     std::vector<std::string>{"a", "b"}      ["a", "b"]
///     Meta{{"k", "v"}}                        ["k": "v"]
///     Meta{}                                  [:]
///     EntityDefinition{"User"}                EntityDefinition(entityTypeName: "User")
///
/// A record is written by its field table, with the names of its fields; a pointer as what it points to. The
/// form is one line: text inside it has its quotes, control characters, line separators and marks that turn
/// the direction of writing escaped. It is for people to read; nothing reads it back.
template <class T>
requires(!std::convertible_to<const T&, std::string_view>) [[nodiscard]] std::string
    describe(const T& value) {
  std::string text;
  detail::appendDescription(text, value);
  return text;
}

/// The same behind what `text` holds, for a line of several parts: it makes no text of its own.
///
///     line.append("theme: ");
///     describeTo(line, theme);
template <class T>
requires(!std::convertible_to<const T&, std::string_view>) void describeTo(std::string& text,
                                                                           const T& value) {
  detail::appendDescription(text, value);
}

/// A text by itself is its own textual form, without quotes and unescaped: it may hold line breaks.
[[nodiscard]] inline std::string describe(std::string_view text) {
  return std::string(text);
}

}  // namespace vellora
