#pragma once

#include <algorithm>
#include <boost/json.hpp>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "testkit/HostCall.h"

namespace vellora::tests {

/// One member of a JSON document, and how the library reads it.
struct JsonMember {
  enum class Need {
    required,
    optional,  ///< may be missing or null
    dynamic,   ///< one of any members; may be missing
  };

  std::string pointer;   ///< such as "/sobjects/0/name"; the whole document when empty
  std::string expected;  ///< what it must be, as an error calls it: "a string", "an integer", …
  Need need = Need::required;
  std::optional<std::string> reason = {};  ///< what any damage to it is reported as, where that is irregular
};

/// A document that is no longer what it was.
struct DamagedJson {
  std::string what;
  std::string text;
  std::optional<std::string> reason;  ///< what the library must say; absent: it must not mind
};

namespace detail {

/// "$.sobjects[0].name" for "/sobjects/0/name".
inline std::string pathOf(std::string_view pointer) {
  std::string path = "$";
  while (!pointer.empty()) {
    pointer.remove_prefix(1);
    const auto step = pointer.substr(0, pointer.find('/'));
    pointer.remove_prefix(step.size());
    const bool isIndex = step.find_first_not_of("0123456789") == step.npos;
    path.append(isIndex ? "[" : ".").append(step).append(isIndex ? "]" : "");
  }
  return path;
}

inline bool isOfType(const boost::json::value& value, std::string_view expected) {
  if (expected == "a string") return value.is_string();
  if (expected == "a boolean") return value.is_bool();
  if (expected == "an integer") return value.is_int64();
  if (expected == "a number") return value.is_number();
  if (expected == "an array") return value.is_array();
  return value.is_object();
}

}  // namespace detail

/// `document`, which must not end in blanks, cut at every byte.
inline std::vector<DamagedJson> cuts(const std::string& document) {
  std::vector<DamagedJson> all;
  for (std::size_t length = 0; length < document.size(); ++length) {
    const auto bytes = std::to_string(length);
    all.push_back({"cut at " + bytes, document.substr(0, length),
                   "not valid JSON at byte " + bytes + ": the text ends too early"});
  }
  return all;
}

/// `document` without each of `members`, and with each replaced by a value of every JSON type but its own.
inline std::vector<DamagedJson> replacements(const std::string& document,
                                             const std::vector<JsonMember>& members) {
  namespace bj = boost::json;
  const auto whole = bj::parse(document);
  const std::vector<bj::value> values{nullptr, true, 7, 7.5, "text", bj::array{1}, bj::object{{"a", 1}}};
  std::vector<DamagedJson> all;
  for (const auto& member : members) {
    const auto slash = member.pointer.rfind('/');
    const auto parent = member.pointer.substr(0, slash);
    const auto key = member.pointer.substr(slash + 1);
    const auto add = [&](const std::string& what, const bj::value& damaged, bool isMinded,
                         const std::string& reason) {
      all.push_back({member.pointer + " " + what, bj::serialize(damaged),
                     isMinded ? std::optional(member.reason.value_or(reason)) : std::nullopt});
    };
    const auto path = detail::pathOf(member.pointer);
    for (const auto& value : values) {
      if (detail::isOfType(value, member.expected)) continue;
      auto damaged = whole;
      damaged.at_pointer(member.pointer) = value;
      add("replaced by " + bj::serialize(value), damaged,
          member.need != JsonMember::Need::optional || !value.is_null(),
          "expected " + member.expected + " at " + path);
    }
    if (member.pointer.empty()) continue;
    auto damaged = whole;
    auto& owner = damaged.at_pointer(parent);
    if (!owner.is_object()) continue;
    owner.as_object().erase(key);
    add("missing", damaged, member.need == JsonMember::Need::required,
        "missing key \"" + key + "\" at " + detail::pathOf(parent));
  }
  return all;
}

/// Both.
inline std::vector<DamagedJson> damages(const std::string& document, const std::vector<JsonMember>& members) {
  auto all = cuts(document);
  for (auto& replacement : replacements(document, members)) all.push_back(std::move(replacement));
  return all;
}

/// `text` with `reason` in place of the word REASON, if it holds that.
inline std::string withReason(std::string text, const std::string& reason) {
  constexpr std::string_view word = "REASON";
  const auto place = text.find(word);
  return place == text.npos ? text : text.replace(place, word.size(), reason);
}

inline std::vector<std::string> withReason(std::vector<std::string> lines, const std::string& reason) {
  for (auto& line : lines) line = withReason(std::move(line), reason);
  return lines;
}

/// How many of `calls` were to write a blob or a row.
inline std::ptrdiff_t writesAmong(const std::vector<testkit::HostCall>& calls) {
  using Operation = testkit::HostCall::Operation;
  return std::count_if(calls.begin(), calls.end(), [](const auto& call) {
    return call.operation == Operation::save || call.operation == Operation::tableUpsert;
  });
}

}  // namespace vellora::tests
