#include "apps/vellora/cache/EntryText.h"

#include <cmath>
#include <sstream>
#include <string_view>
#include <utility>

#include "apps/vellora/command/IsoTime.h"
#include "vellora/Models/SObject.h"
#include "vellora/Platform/Json/DecodingError.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Data.h"

namespace vellora::command {

namespace {

/// Whether the whole of it is one JSON value. Which record is read does not matter: only a text that is no
/// JSON fails so.
bool isJson(const Data& content) {
  const auto read = json::decode<SObject>(content);
  if (read) return true;
  const auto* failure = read.error().as<DecodingError>();
  return failure != nullptr && failure->kind() != DecodingError::Kind::invalidJson;
}

}  // namespace

std::string sizeText(std::optional<std::size_t> bytes) {
  if (!bytes) return "-";
  if (*bytes < 1000) return std::to_string(*bytes) + " B";
  std::ostringstream text;
  text.precision(1);
  const bool large = *bytes >= 1'000'000;
  text << std::fixed << static_cast<double>(*bytes) / (large ? 1e6 : 1e3) << (large ? " MB" : " kB");
  return text.str();
}

std::string ageText(std::optional<double> seconds) {
  if (!seconds || !std::isfinite(*seconds)) return "-";
  constexpr std::pair<double, const char*> units[] = {{86400, " d"}, {3600, " h"}, {60, " min"}};
  for (const auto& [length, unit] : units) {
    if (std::abs(*seconds) >= length)
      return std::to_string(std::llround(std::trunc(*seconds / length))) + unit;
  }
  return std::to_string(std::llround(std::trunc(*seconds))) + " s";
}

std::string contentText(const CacheListing& listing) {
  const bool isTimeStamp = listing.kind == CacheListing::Kind::blob && listing.data->size() == sizeof(double);
  if (isTimeStamp && listing.fetched) return isoTime(*listing.fetched);
  return std::string(listing.data->view());
}

EmbeddedJson contentJson(const CacheListing& listing) {
  constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
  const std::string text = contentText(listing);
  if (!text.starts_with(byteOrderMark) && isJson(Data(text))) return {text};
  return {std::string(json::encode(asText(text)).value().view())};
}

std::string asText(const std::string& bytes) {
  if (json::encode(bytes)) return bytes;
  constexpr std::string_view digits = "0123456789abcdef";
  constexpr unsigned char firstBeyondAscii = 0x80;
  std::string text;
  for (const char next : bytes) {
    const auto byte = static_cast<unsigned char>(next);
    if (byte < firstBeyondAscii) {
      text += next;
    } else {
      text.append({'\\', 'x', digits[byte >> 4U], digits[byte & 15U]});
    }
  }
  return text;
}

}  // namespace vellora::command
