#include "hostkit/cache/sqlite/SQLiteRowQueries.h"

#include <string_view>
#include <utility>

#include "hostkit/cache/rows/MetaCodec.h"
#include "hostkit/cache/sqlite/SQLiteMetaIndex.h"
#include "hostkit/cache/sqlite/SQLiteRowFormat.h"

namespace vellora::hostkit::sqliteRows {

namespace {

using CorvaneSDK::Meta;
using sqliteRowFormat::Column;
using sqliteRowFormat::verifiedRow;

/// The columns of a statement that reads headers, in their order.
struct HeaderColumn {
  enum : int { sequence, dataKey, meta };
};

// A large row's data is left out, since the row may be known already.
constexpr auto largeSize = static_cast<std::int64_t>(LargeRows::smallestSize);

/// Binds the dates of `live` and takes in the undamaged rows, of `pairs` when that is not null.
StoredRows collected(SQLiteDatabase& database, SQLiteStatement& found, const std::string& tableKey,
                     const LiveSpan& live, const Meta* pairs) {
  StoredRows rows;
  found.bind(live.earliest.secondsSinceReferenceDate()).bind(live.latest.secondsSinceReferenceDate());
  while (found.step()) {
    auto stored = verifiedRow(database, found, tableKey);
    if (!stored || (pairs != nullptr && !holdsPairs(stored->row.meta, *pairs))) continue;
    // Every statement goes up the sequences; a damaged page may lead to one row twice.
    if (!rows.empty() && stored->sequence <= rows.back()->sequence) continue;
    rows.push_back(std::move(stored));
  }
  return rows;
}

std::vector<Header> collectedHeaders(SQLiteStatement& found) {
  std::vector<Header> headers;
  while (found.step()) {
    Header header{found.integer(HeaderColumn::sequence), std::nullopt};
    if (auto meta = decodedMeta(found.bytes(HeaderColumn::meta))) {
      header.row = {std::move(*meta), std::string(found.bytes(HeaderColumn::dataKey))};
    }
    headers.push_back(std::move(header));
  }
  return headers;
}

std::vector<Header> headersWithDataKey(SQLiteDatabase& database, const std::string& tableKey,
                                       const std::string& dataKey) {
  SQLiteStatement one = database.statement(
      "SELECT sequence, data_key, meta FROM vellora_row WHERE table_name = ? AND data_key = ?");
  return collectedHeaders(one.bind(tableKey).bind(dataKey));
}

std::vector<Header> headersWithPairs(SQLiteDatabase& database, const std::string& tableKey,
                                     const Meta& pairs) {
  const auto& [name, value] = sqliteMetaIndex::rarestPair(database, tableKey, pairs);
  SQLiteStatement some = database.statement(
      "SELECT r.sequence, r.data_key, r.meta"
      " FROM vellora_meta m INDEXED BY vellora_meta_pair CROSS JOIN vellora_row r ON r.sequence = m.sequence"
      " WHERE m.table_name = ? AND m.name = ? AND m.value = ?");
  return collectedHeaders(some.bind(tableKey).bind(name).bind(value));
}

}  // namespace

StoredRows read(SQLiteDatabase& database, const std::string& tableKey, const LiveSpan& live,
                const Meta* pairs) {
  if (pairs == nullptr) {
    // In order of the rows themselves: any index would make SQLite sort them.
    SQLiteStatement all = database.statement(
        "SELECT sequence, data_key, written, checksum, meta, CASE WHEN length(r.data) < ? THEN r.data END"
        " FROM vellora_row r NOT INDEXED WHERE table_name = ? AND written BETWEEN ? AND ? ORDER BY sequence");
    return collected(database, all.bind(largeSize).bind(tableKey), tableKey, live, nullptr);
  }
  const auto& [name, value] = sqliteMetaIndex::rarestPair(database, tableKey, *pairs);
  SQLiteStatement some = database.statement(
      "SELECT r.sequence, r.data_key, r.written, r.checksum, r.meta,"
      " CASE WHEN length(r.data) < ? THEN r.data END"
      " FROM vellora_meta m INDEXED BY vellora_meta_pair CROSS JOIN vellora_row r ON r.sequence = m.sequence"
      " WHERE m.table_name = ? AND m.name = ? AND m.value = ? AND r.written BETWEEN ? AND ?"
      " ORDER BY m.sequence");
  some.bind(largeSize).bind(tableKey).bind(name).bind(value);
  return collected(database, some, tableKey, live, pairs);
}

std::vector<Header> readHeaders(SQLiteDatabase& database, const std::string& tableKey,
                                const CorvaneSDK::RowFilter& filter) {
  if (const auto* dataKey = filter.dataKey()) return headersWithDataKey(database, tableKey, *dataKey);
  if (const auto* pairs = indexablePairs(filter)) return headersWithPairs(database, tableKey, *pairs);
  SQLiteStatement all =
      database.statement("SELECT sequence, data_key, meta FROM vellora_row NOT INDEXED WHERE table_name = ?");
  return collectedHeaders(all.bind(tableKey));
}

std::vector<Kept> readAll(SQLiteDatabase& database, const std::string& tableKey) {
  std::vector<Kept> rows;
  SQLiteStatement all = database.statement(
      "SELECT sequence, data_key, written, checksum, meta, data FROM vellora_row NOT INDEXED"
      " WHERE table_name = ? ORDER BY sequence");
  all.bind(tableKey);
  while (all.step()) {
    Kept kept{
        {decodedMeta(all.bytes(Column::meta)).value_or(Meta()), std::string(all.bytes(Column::dataKey))},
        Date::sinceReferenceDate(all.real(Column::written)),
        std::nullopt};
    if (const auto sound = verifiedRow(database, all, tableKey)) {
      kept.data = sound->data;
      kept.found = sqliteMetaIndex::holds(database, tableKey, sound->sequence, sound->row.meta);
    }
    rows.push_back(std::move(kept));
  }
  return rows;
}

}  // namespace vellora::hostkit::sqliteRows
