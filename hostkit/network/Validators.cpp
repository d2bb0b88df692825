#include "hostkit/network/Validators.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <ctime>
#include <string_view>

#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Json/JsonDocument.h"
#include "vellora/Platform/Text/AsciiCase.h"

namespace vellora::hostkit {

namespace {

using CorvaneSDK::Meta;

constexpr const char* tagName = "etag";
constexpr const char* dateName = "last-modified";

std::string_view withoutWeakness(std::string_view tag) {
  return tag.starts_with("W/") ? tag.substr(2) : tag;
}

bool isTagCharacter(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte > 0x20 && byte != '"' && byte != 0x7f;
}

bool isTag(std::string_view text) {
  const std::string_view quoted = withoutWeakness(text);
  if (text.size() > longestTag || quoted.size() < 2 || quoted.front() != '"' || quoted.back() != '"')
    return false;
  const std::string_view inside = quoted.substr(1, quoted.size() - 2);
  return std::all_of(inside.begin(), inside.end(), isTagCharacter);
}

/// Seconds since 1970; absent for what is no date.
std::optional<std::time_t> momentOf(const std::string* date) {
  constexpr std::size_t longestDate = 64;
  if (date == nullptr || date->size() > longestDate) return std::nullopt;
  const auto moment = curl_getdate(date->c_str(), nullptr);
  return moment < 0 ? std::nullopt : std::optional(moment);
}

bool isOldDate(const ResponseHead& head) {
  const auto changed = momentOf(head.value(dateName));
  const auto answered = momentOf(head.value("date"));
  return changed && (!answered || *changed < *answered);
}

bool holdsWord(const std::string* value, std::string_view word) {
  return value != nullptr && asciiLowerCase(*value).find(word) != std::string::npos;
}

bool mayBeKept(const ResponseHead& head) {
  return !holdsWord(head.value("cache-control"), "no-store") && !holdsWord(head.value("vary"), "*");
}

bool isOther(const std::string* told, const std::string& kept) {
  return told != nullptr && withoutWeakness(*told) != withoutWeakness(kept);
}

}  // namespace

std::optional<Meta> validatorsIn(const ResponseHead& head) {
  const std::string* tag = head.value(tagName);
  const bool canBeAskedFor = tag != nullptr ? isTag(*tag) : isOldDate(head);
  if (!canBeAskedFor || !mayBeKept(head)) return std::nullopt;
  Meta validators;
  for (const char* name : {tagName, dateName, "content-type", "content-encoding"}) {
    if (const auto* value = head.value(name)) validators.emplace(name, *value);
  }
  return validators;
}

std::string conditionOn(const Meta& validators) {
  const auto tag = validators.find(tagName);
  if (tag != validators.end()) return "If-None-Match: " + tag->second;
  return "If-Modified-Since: " + validators.at(dateName);
}

bool isAbout(const Meta& validators, const ResponseHead& notModified) {
  const auto tag = validators.find(tagName);
  if (tag != validators.end()) return !isOther(notModified.value(tagName), tag->second);
  const auto date = validators.find(dateName);
  return date != validators.end() && !isOther(notModified.value(dateName), date->second);
}

bool isWhole(const Data& body, const ResponseHead& head) {
  if (!holdsWord(head.value("content-type"), "json")) return true;
  const bool isJson = !json::Document().parse(body);
  json::releaseParser();
  return isJson;
}

bool hasOwnCondition(const std::vector<std::string>& headerLines) {
  constexpr std::array<std::string_view, 8> names{
      "if-none-match", "if-modified-since", "if-match", "if-unmodified-since", "if-range", "range",
      "pragma",        "cache-control"};
  return std::any_of(headerLines.begin(), headerLines.end(), [&](const std::string& line) {
    const std::string name = asciiLowerCase(line.substr(0, line.find_first_of(":;")));
    return std::find(names.begin(), names.end(), name) != names.end();
  });
}

}  // namespace vellora::hostkit
