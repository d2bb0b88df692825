#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Date.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// The blobs that hold the moment at which a list was last fetched.
inline constexpr std::string_view sObjectsFetchTimeKey = "ops.sobject.fetch.timestamp";
inline constexpr std::string_view themesFetchTimeKey = "ops.theme.fetch.timestamp";

/// The key of the blob that tells when rows of that "cacheEntryType" were fetched; absent for the rows of
/// single items, which are served however old they are.
[[nodiscard]] std::optional<std::string_view> fetchTimeKeyForRowsOf(std::string_view cacheEntryType);

/// A fetch time stamp: the seconds since 1970 as the eight bytes of a double, lowest byte first.
[[nodiscard]] VELLORA_EXPORT Data fetchTimeStamp(double secondsSince1970);

/// The seconds in a fetch time stamp: 0 for an empty one, absent for one of fewer than eight bytes.
[[nodiscard]] VELLORA_EXPORT std::optional<double> secondsInFetchTimeStamp(const Data& blob);

/// Whether a list that was fetched then is to be fetched again. A moment far in the future is as wrong as one
/// long ago. A moment that is no number is neither: the list counts as fresh.
[[nodiscard]] bool isListExpired(double fetchedSecondsSince1970, double cacheTimeout);

/// When the content of the cache blob `blob` under `key` was fetched; absent for a blob that doesn't tell,
/// and for one that no data service reads.
///
/// A time stamp tells the time of the list in a table, a layout's blob its own.
[[nodiscard]] VELLORA_EXPORT std::optional<Date> fetchTime(std::string_view key, const Data& blob);

/// `blob` as it would be if its content had been fetched at `time`; absent where `fetchTime` is.
[[nodiscard]] VELLORA_EXPORT std::optional<Data> withFetchTime(std::string_view key, const Data& blob,
                                                               Date time);

}  // namespace vellora
