#pragma once

#include <rapidjson/stringbuffer.h>
#include <simdjson.h>

#include <vector>

#include "vellora/Models/SObject.h"
#include "vellora/Models/ThemeItem.h"

namespace vellora::bench {

/// The records of a parsed list, extracted by code that is written for just these fields: it goes through the
/// members of each object once, and stops when it has found all fields.
[[nodiscard]] std::vector<SObject> extractedTypes(simdjson::dom::element document);
[[nodiscard]] std::vector<ThemeItem> extractedThemes(simdjson::dom::element document);

/// The list as the cache keeps it, written by RapidJSON with code that is written for just these fields.
[[nodiscard]] rapidjson::StringBuffer writtenTypes(const std::vector<SObject>& types);
[[nodiscard]] rapidjson::StringBuffer writtenThemes(const std::vector<ThemeItem>& themes);

}  // namespace vellora::bench
