#include "hostkit/network/Validators.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <ctime>
#include <string_view>
#include <utility>

#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Json/JsonDocument.h"
#include "vellora/Platform/Text/AsciiCase.h"

namespace vellora::hostkit {

namespace {

using CorvaneSDK::Meta;

constexpr const char* tagName = "etag";
constexpr const char* dateName = "last-modified";
constexpr const char* packingName = "content-encoding";
constexpr std::array<std::string_view, 4> keptNames{tagName, dateName, "content-type", packingName};

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

bool isControl(char c) {
  return (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7f;
}

/// curl reads a date past characters that no date has, a line end for instance.
bool isPrintable(char c) {
  return c >= ' ' && c < 0x7f;
}

/// Seconds since 1970; absent for what is no date.
std::optional<std::time_t> momentOf(const std::string* date) {
  constexpr std::size_t longestDate = 64;
  if (date == nullptr || date->size() > longestDate) return std::nullopt;
  if (!std::all_of(date->begin(), date->end(), isPrintable)) return std::nullopt;
  const auto moment = curl_getdate(date->c_str(), nullptr);
  return moment < 0 ? std::nullopt : std::optional(moment);
}

bool isOldDate(const ResponseHead& head) {
  const auto changed = momentOf(head.value(dateName));
  const auto answered = momentOf(head.value("date"));
  return changed && *changed < answered.value_or(std::time(nullptr));
}

bool holdsWord(const std::string* value, std::string_view word) {
  return value != nullptr && asciiLowerCase(*value).find(word) != std::string::npos;
}

bool mayBeKept(const ResponseHead& head) {
  return !holdsWord(head.value("cache-control"), "no-store") && !holdsWord(head.value("vary"), "*");
}

const std::string* valueIn(const Meta& headers, const char* name) {
  const auto found = headers.find(name);
  return found == headers.end() ? nullptr : &found->second;
}

bool isKeptHeader(const Meta::value_type& header) {
  const bool isKept = std::find(keptNames.begin(), keptNames.end(), header.first) != keptNames.end();
  return isKept && header.second.size() <= longestTag &&
         std::none_of(header.second.begin(), header.second.end(), isControl);
}

bool isPacked(const ResponseHead& head) {
  const auto* packing = head.value(packingName);
  return packing != nullptr && !packing->empty() && !equalIgnoringAsciiCase(*packing, "identity");
}

bool isOther(const std::string* told, const std::string& kept) {
  return told != nullptr && withoutWeakness(*told) != withoutWeakness(kept);
}

}  // namespace

std::optional<Meta> validatorsIn(const ResponseHead& head) {
  if (!mayBeKept(head) || (head.value(tagName) == nullptr && !isOldDate(head))) return std::nullopt;
  Meta validators;
  for (const std::string_view name : keptNames) {
    if (const auto* value = head.value(std::string(name))) validators.emplace(name, *value);
  }
  return canBeAskedFor(validators) ? std::optional(std::move(validators)) : std::nullopt;
}

bool canBeAskedFor(const Meta& validators) {
  const std::string* tag = valueIn(validators, tagName);
  const bool hasCondition =
      tag != nullptr ? isTag(*tag) : momentOf(valueIn(validators, dateName)).has_value();
  return hasCondition && std::all_of(validators.begin(), validators.end(), isKeptHeader);
}

std::string conditionOn(const Meta& validators) {
  if (const auto* tag = valueIn(validators, tagName)) return "If-None-Match: " + *tag;
  const auto* date = valueIn(validators, dateName);
  return date == nullptr ? std::string() : "If-Modified-Since: " + *date;
}

bool isAbout(const Meta& validators, const ResponseHead& notModified) {
  if (const auto* tag = valueIn(validators, tagName)) return !isOther(notModified.value(tagName), *tag);
  const auto* date = valueIn(validators, dateName);
  return date != nullptr && !isOther(notModified.value(dateName), *date);
}

bool isWhole(const Data& body, const ResponseHead& head) {
  const bool isEndKnown = isPacked(head) ? !body.empty() : head.tellsEnd();
  if (!isEndKnown || !holdsWord(head.value("content-type"), "json")) return isEndKnown;
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
