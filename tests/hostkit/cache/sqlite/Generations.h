#pragma once

#include <array>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "vellora/Host/CacheTable.h"

namespace vellora::hostkit::tests {

/// What a writer that may be killed at any moment writes into a cache over and over: one generation of all
/// items after the other, in this order. The text of an item tells its generation, and is different
/// throughout.
namespace generations {

/// Blobs where the name begins with "blob", else rows.
inline constexpr std::array<const char*, 5> items{"blob small", "row small", "blob large", "row large",
                                                  "blob last"};

inline bool isBlob(const std::string& item) {
  return item.starts_with("blob");
}

inline std::string textOf(const std::string& item, int generation) {
  const std::size_t words =
      item.ends_with("large") ? 900 + static_cast<std::size_t>(generation * 37 % 900) : 3;
  const std::string word = std::to_string(generation) + " " + item + ";";
  std::string text;
  for (std::size_t i = 0; i < words; ++i) text += word;
  return text;
}

inline CorvaneSDK::Meta metaOf(const std::string& item) {
  return {{"kind", "item"}, {"name", item}};
}

inline std::shared_ptr<CorvaneSDK::CacheTable> tableIn(SQLiteCache& cache) {
  using CorvaneSDK::Table;
  return cache.createTable(Table::emptyWithKey("Generations", Table::MaxAge::sevenDays));
}

inline bool write(SQLiteCache& cache, const std::string& item, int generation) {
  const Data data(textOf(item, generation));
  if (isBlob(item)) return cache.save(data, item);
  return tableIn(cache)->upsert({data, metaOf(item), std::nullopt});
}

inline std::optional<std::string> textIn(SQLiteCache& cache, const std::string& item) {
  if (isBlob(item)) {
    const auto blob = cache.load(item);
    return blob ? std::optional(std::string(blob->view())) : std::nullopt;
  }
  using CorvaneSDK::metaEquals;
  using CorvaneSDK::Query;
  const auto rows = tableIn(cache)->load(Query::exact(metaEquals(metaOf(item))));
  return rows.empty() ? std::nullopt : std::optional(std::string(rows.front().view()));
}

/// The generation of an item: 0 when it is not there, -1 when it is no text that was ever written.
inline int generationIn(SQLiteCache& cache, const std::string& item) {
  const auto text = textIn(cache, item);
  if (!text) return 0;
  const int generation = std::atoi(text->c_str());
  return *text == textOf(item, generation) ? generation : -1;
}

}  // namespace generations

}  // namespace vellora::hostkit::tests
