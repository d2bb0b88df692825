#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "apps/vellora/cache/CacheListing.h"
#include "apps/vellora/command/Document.h"

namespace vellora::command {

/// "999 B", "1.0 kB" or "1.0 MB"; "-" when absent.
[[nodiscard]] std::string sizeText(std::optional<std::size_t> bytes);

/// An age in its largest whole unit, rounded towards zero: "59 s", "1 min", "2 h", "3 d"; "-" when absent or
/// no number.
[[nodiscard]] std::string ageText(std::optional<double> seconds);

/// What a blob or row that is not damaged holds, for a person: the moment of a fetch as a date in UTC,
/// everything else as it is.
[[nodiscard]] std::string contentText(const CacheListing& listing);

/// The same as JSON: as it is where it is JSON, else as a text.
[[nodiscard]] EmbeddedJson contentJson(const CacheListing& listing);

/// `bytes` as they are when they are UTF-8, which JSON demands of a text. Else each byte beyond ASCII is
/// written as `\xff`.
[[nodiscard]] std::string asText(const std::string& bytes);

}  // namespace vellora::command
