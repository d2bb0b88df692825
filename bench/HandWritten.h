#pragma once

#include <rapidjson/stringbuffer.h>
#include <simdjson.h>

#include <vector>

#include "vellora/Models/SObject.h"
#include "vellora/Models/ThemeItem.h"

namespace vellora::bench {

/// The records of a parsed list, taken out by code that was written for just these fields: one pass over the
/// members of an object, which ends when all have been seen.
[[nodiscard]] std::vector<SObject> extractedTypes(simdjson::dom::element document);
[[nodiscard]] std::vector<ThemeItem> extractedThemes(simdjson::dom::element document);

/// The list as the cache keeps it, by RapidJSON's writer and calls that were written for just these fields.
[[nodiscard]] rapidjson::StringBuffer writtenTypes(const std::vector<SObject>& types);
[[nodiscard]] rapidjson::StringBuffer writtenThemes(const std::vector<ThemeItem>& themes);

}  // namespace vellora::bench
