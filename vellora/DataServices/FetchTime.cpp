#include "vellora/DataServices/FetchTime.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>

#include "vellora/DataServices/CompactLayoutDataService.h"
#include "vellora/DataServices/LayoutDataService.h"
#include "vellora/DataServices/SObjectsDataService.h"
#include "vellora/DataServices/ThemeDataService.h"
#include "vellora/Models/CompactLayoutCacheEntry.h"
#include "vellora/Models/ObjectLayoutInfoCacheEntry.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora {

namespace {

bool isTimeStamp(std::string_view key) {
  return key == sObjectsFetchTimeKey || key == themesFetchTimeKey;
}

template <class Entry>
std::optional<Date> timeIn(const Data& blob) {
  const auto entry = json::decode<Entry>(blob);
  return entry ? std::optional(entry.value().downloadedTime) : std::nullopt;
}

template <class Entry>
std::optional<Data> withTime(const Data& blob, Date time) {
  auto entry = json::decode<Entry>(blob);
  if (!entry) return std::nullopt;
  entry.value().downloadedTime = time;
  auto written = json::encode(entry.value());
  return written ? std::optional(std::move(written).value()) : std::nullopt;
}

}  // namespace

std::optional<std::string_view> fetchTimeKeyForRowsOf(std::string_view cacheEntryType) {
  using Type = SObjectsDataService::CacheEntryType;
  if (cacheEntryType == rawValue(Type::sObjects) || cacheEntryType == rawValue(Type::keyPrefixes))
    return sObjectsFetchTimeKey;
  if (cacheEntryType == ThemeDataService::Constants::listKind) return themesFetchTimeKey;
  return std::nullopt;
}

Data fetchTimeStamp(double secondsSince1970) {
  const auto bits = std::bit_cast<std::uint64_t>(secondsSince1970);
  std::array<unsigned char, sizeof bits> bytes{};
  for (std::size_t index = 0; index < bytes.size(); ++index) {
    bytes[index] = static_cast<unsigned char>(bits >> (8 * index));
  }
  return {bytes.data(), bytes.size()};
}

std::optional<double> secondsInFetchTimeStamp(const Data& blob) {
  if (blob.empty()) return 0;
  std::uint64_t bits = 0;
  if (blob.size() < sizeof bits) return std::nullopt;
  for (std::size_t index = 0; index < sizeof bits; ++index) {
    bits |= std::uint64_t{static_cast<unsigned char>(blob.data()[index])} << (8 * index);
  }
  return std::bit_cast<double>(bits);
}

bool isListExpired(double fetchedSecondsSince1970, double cacheTimeout) {
  return std::abs(fetchedSecondsSince1970 - now().secondsSince1970()) > cacheTimeout;
}

std::optional<Date> fetchTime(std::string_view key, const Data& blob) {
  if (isTimeStamp(key)) {
    const auto seconds = secondsInFetchTimeStamp(blob);
    return seconds ? std::optional(Date::since1970(*seconds)) : std::nullopt;
  }
  if (key.starts_with(LayoutDataService::Constants::keyPrefix))
    return timeIn<ObjectLayoutInfoCacheEntry>(blob);
  if (key.starts_with(CompactLayoutDataService::Constants::keyPrefix))
    return timeIn<CompactLayoutCacheEntry>(blob);
  return std::nullopt;
}

std::optional<Data> withFetchTime(std::string_view key, const Data& blob, Date time) {
  if (isTimeStamp(key)) {
    return secondsInFetchTimeStamp(blob) ? std::optional(fetchTimeStamp(time.secondsSince1970()))
                                         : std::nullopt;
  }
  if (key.starts_with(LayoutDataService::Constants::keyPrefix))
    return withTime<ObjectLayoutInfoCacheEntry>(blob, time);
  if (key.starts_with(CompactLayoutDataService::Constants::keyPrefix))
    return withTime<CompactLayoutCacheEntry>(blob, time);
  return std::nullopt;
}

}  // namespace vellora
