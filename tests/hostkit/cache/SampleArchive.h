#pragma once

#include <optional>
#include <string>

#include "hostkit/cache/CacheArchive.h"
#include "vellora/DataServices/FetchTime.h"

namespace vellora::hostkit::tests {

/// Bytes that are no text.
inline const std::string noText("\0\xFF\"\n", 4);

/// An archive of two blobs and two tables, one of them empty, with all that one can hold.
[[nodiscard]] inline CacheArchive sampleArchive() {
  return {
      .blobs = {{.key = "ops.theme.fetch.timestamp", .data = fetchTimeStamp(1'700'000'000.5)},
                {.key = "text", .data = Data("\"ä\\\n")}},
      .tables = {
          {.key = "Empty", .rows = {}},
          {.key = "Rows",
           .rows = {
               {.meta = {{"kind", "one"}, {"name", "Account"}}, .dataKey = std::nullopt, .data = Data("[1]")},
               {.meta = {{"kind", "two"}}, .dataKey = "own key", .data = Data(noText)}}}}};
}

}  // namespace vellora::hostkit::tests
