#include "hostkit/cache/sqlite/SQLiteMetaIndex.h"

#include <algorithm>
#include <limits>

namespace vellora::hostkit::sqliteMetaIndex {

namespace {

using CorvaneSDK::Meta;

// Rows are counted up to a limit that grows until some pair stays below it.
constexpr std::int64_t firstLimit = 16;
constexpr std::int64_t limitGrowth = 8;
constexpr std::int64_t mostRows = std::numeric_limits<std::int32_t>::max();

/// How many rows hold the pair, counted up to `limit`.
std::int64_t countUpTo(std::int64_t limit, SQLiteDatabase& database, const std::string& tableKey,
                       const Meta::value_type& pair) {
  SQLiteStatement count = database.statement(
      "SELECT count(*) FROM (SELECT 1 FROM vellora_meta INDEXED BY vellora_meta_pair"
      " WHERE table_name = ? AND name = ? AND value = ? LIMIT ?)");
  count.bind(tableKey).bind(pair.first).bind(pair.second).bind(limit);
  return count.step() ? count.integer(SQLiteStatement::onlyColumn) : 0;
}

}  // namespace

const Meta::value_type& rarestPair(SQLiteDatabase& database, const std::string& tableKey, const Meta& pairs) {
  const Meta::value_type* rarest = &*pairs.begin();
  if (pairs.size() == 1) return *rarest;
  for (std::int64_t limit = firstLimit; limit < mostRows; limit *= limitGrowth) {
    std::int64_t fewest = limit;
    for (const auto& pair : pairs) {
      const std::int64_t count = countUpTo(fewest, database, tableKey, pair);
      if (count < fewest) {
        fewest = count;
        rarest = &pair;
      }
    }
    if (fewest < limit) break;
  }
  return *rarest;
}

bool holds(SQLiteDatabase& database, const std::string& tableKey, std::int64_t sequence, const Meta& meta) {
  return std::all_of(meta.begin(), meta.end(), [&](const auto& pair) {
    SQLiteStatement found = database.statement(
        "SELECT 1 FROM vellora_meta INDEXED BY vellora_meta_pair"
        " WHERE table_name = ? AND name = ? AND value = ? AND sequence = ?");
    return found.bind(tableKey).bind(pair.first).bind(pair.second).bind(sequence).step();
  });
}

void add(SQLiteDatabase& database, const std::string& tableKey, std::int64_t sequence, const Meta& meta) {
  for (const auto& [name, value] : meta) {
    // A damaged row may have left a pair under this sequence, which no row has any more.
    database
        .statement(
            "INSERT OR REPLACE INTO vellora_meta(sequence, name, value, table_name) VALUES(?, ?, ?, ?)")
        .bind(sequence)
        .bind(name)
        .bind(value)
        .bind(tableKey)
        .step();
  }
}

void remove(SQLiteDatabase& database, std::int64_t sequence) {
  database.statement("DELETE FROM vellora_meta WHERE sequence = ?").bind(sequence).step();
}

}  // namespace vellora::hostkit::sqliteMetaIndex
