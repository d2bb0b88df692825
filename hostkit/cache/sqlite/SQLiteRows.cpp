#include "hostkit/cache/sqlite/SQLiteRows.h"

#include <algorithm>
#include <limits>
#include <string_view>
#include <utility>

#include "hostkit/cache/rows/Checksum.h"
#include "hostkit/cache/rows/MetaCodec.h"

namespace vellora::hostkit::sqliteRows {

namespace {

using CorvaneSDK::Meta;
using MaxAge = CorvaneSDK::Table::MaxAge;

// The statements that read rows leave out the data of a large one: it may be known already.
static_assert(LargeRows::smallestSize == 16384);

struct RowHead {
  std::int64_t sequence;
  std::string_view dataKey;
  double written;
  std::string_view meta;
};

/// Over everything but the data, which comes last.
Checksum headChecksum(std::string_view tableKey, const RowHead& row) {
  const Date written = Date::sinceReferenceDate(row.written);
  return Checksum().add("row").add(tableKey).add(row.sequence).add(row.dataKey).add(written).add(row.meta);
}

std::int64_t checksum(std::string_view tableKey, std::int64_t maxAge) {
  return Checksum().add("table").add(tableKey).add(maxAge).value();
}

/// The row of that head and `data`; null when the two do not fit `checksum`.
std::shared_ptr<const StoredRow> verifiedRow(const RowHead& head, Checksum checksumOfHead,
                                             std::string_view data, std::int64_t checksum) {
  if (checksumOfHead.add(data).value() != checksum) return nullptr;
  auto meta = decodedMeta(head.meta);
  if (!meta) return nullptr;
  auto stored = std::make_shared<StoredRow>();
  stored->row = {std::move(*meta), std::string(head.dataKey)};
  stored->data = Data(data.data(), data.size());
  stored->written = Date::sinceReferenceDate(head.written);
  stored->sequence = head.sequence;
  return stored;
}

/// The row that the statement stands on; null when it is damaged.
std::shared_ptr<const StoredRow> verifiedRow(SQLiteDatabase& database, const SQLiteStatement& found,
                                             const std::string& tableKey) {
  const RowHead head{found.integer(0), found.bytes(1), found.real(2), found.bytes(4)};
  const Checksum checksumOfHead = headChecksum(tableKey, head);
  const std::int64_t checksum = found.integer(3);
  if (!found.isNull(5)) return verifiedRow(head, checksumOfHead, found.bytes(5), checksum);

  const LargeRows::Identity identity{head.sequence, checksumOfHead.value(), checksum};
  if (auto known = database.largeRows().find(identity)) return known;
  SQLiteStatement large = database.statement("SELECT data FROM vellora_row WHERE sequence = ?");
  if (!large.bind(head.sequence).step()) return nullptr;
  auto stored = verifiedRow(head, checksumOfHead, large.bytes(0), checksum);
  if (stored) database.largeRows().keep(identity, stored);
  return stored;
}

/// How many rows hold the pair, counted up to `limit`.
std::int64_t countUpTo(std::int64_t limit, SQLiteDatabase& database, const std::string& tableKey,
                       const Meta::value_type& pair) {
  SQLiteStatement count = database.statement(
      "SELECT count(*) FROM (SELECT 1 FROM vellora_meta INDEXED BY vellora_meta_pair"
      " WHERE table_name = ? AND name = ? AND value = ? LIMIT ?)");
  count.bind(tableKey).bind(pair.first).bind(pair.second).bind(limit);
  return count.step() ? count.integer(0) : 0;
}

/// The pair that the fewest rows hold, found at a cost that grows with that few, not with the table.
const Meta::value_type& rarestPair(SQLiteDatabase& database, const std::string& tableKey, const Meta& pairs) {
  const Meta::value_type* rarest = &*pairs.begin();
  if (pairs.size() == 1) return *rarest;
  constexpr std::int64_t mostRows = std::numeric_limits<std::int32_t>::max();
  for (std::int64_t limit = 16; limit < mostRows; limit *= 8) {
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

std::optional<MaxAge> maxAgeOfSeconds(std::int64_t stored) {
  if (stored == static_cast<std::int64_t>(seconds(MaxAge::sevenDays))) return MaxAge::sevenDays;
  return std::nullopt;
}

std::int64_t nextSequence(SQLiteDatabase& database) {
  SQLiteStatement next = database.statement(
      "SELECT max(coalesce((SELECT seq FROM sqlite_sequence WHERE name = 'vellora_row'), 0),"
      " coalesce((SELECT max(sequence) FROM vellora_row), 0)) + 1");
  return next.step() ? next.integer(0) : 0;
}

std::optional<std::int64_t> sequenceOf(SQLiteDatabase& database, const std::string& tableKey,
                                       const std::string& dataKey) {
  SQLiteStatement found =
      database.statement("SELECT sequence FROM vellora_row WHERE table_name = ? AND data_key = ?");
  return found.bind(tableKey).bind(dataKey).step() ? std::optional(found.integer(0)) : std::nullopt;
}

bool indexHolds(SQLiteDatabase& database, const std::string& tableKey, std::int64_t sequence,
                const Meta& meta) {
  return std::all_of(meta.begin(), meta.end(), [&](const auto& pair) {
    SQLiteStatement found = database.statement(
        "SELECT 1 FROM vellora_meta INDEXED BY vellora_meta_pair"
        " WHERE table_name = ? AND name = ? AND value = ? AND sequence = ?");
    return found.bind(tableKey).bind(pair.first).bind(pair.second).bind(sequence).step();
  });
}

void writePairs(SQLiteDatabase& database, const std::string& tableKey, std::int64_t sequence,
                const Meta& meta) {
  for (const auto& [name, value] : meta) {
    // A damaged row may have left a pair under this number: it belongs to nobody any more.
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

}  // namespace

StoredRows read(SQLiteDatabase& database, const std::string& tableKey, const LiveSpan& live,
                const Meta* pairs) {
  StoredRows rows;
  const auto collect = [&](SQLiteStatement& found) {
    found.bind(live.earliest.secondsSinceReferenceDate()).bind(live.latest.secondsSinceReferenceDate());
    while (found.step()) {
      auto stored = verifiedRow(database, found, tableKey);
      if (!stored || (pairs != nullptr && !holdsPairs(stored->row.meta, *pairs))) continue;
      // Both statements go up the sequences; a damaged page may lead to one row twice.
      if (!rows.empty() && stored->sequence <= rows.back()->sequence) continue;
      rows.push_back(std::move(stored));
    }
  };
  if (pairs == nullptr) {
    // In order of the rows themselves: any index would make SQLite sort them.
    SQLiteStatement all = database.statement(
        "SELECT sequence, data_key, written, checksum, meta, CASE WHEN length(r.data) < 16384 THEN r.data END"
        " FROM vellora_row r NOT INDEXED WHERE table_name = ? AND written BETWEEN ? AND ? ORDER BY sequence");
    collect(all.bind(tableKey));
  } else {
    const auto& [name, value] = rarestPair(database, tableKey, *pairs);
    SQLiteStatement some = database.statement(
        "SELECT r.sequence, r.data_key, r.written, r.checksum, r.meta, CASE WHEN length(r.data) < 16384 THEN "
        "r.data END"
        " FROM vellora_meta m INDEXED BY vellora_meta_pair CROSS JOIN vellora_row r ON r.sequence = "
        "m.sequence"
        " WHERE m.table_name = ? AND m.name = ? AND m.value = ? AND r.written BETWEEN ? AND ?"
        " ORDER BY m.sequence");
    collect(some.bind(tableKey).bind(name).bind(value));
  }
  return rows;
}

std::vector<Header> readHeaders(SQLiteDatabase& database, const std::string& tableKey,
                                const CorvaneSDK::RowFilter& filter) {
  std::vector<Header> headers;
  const Meta* const pairs = indexablePairs(filter);
  const auto collect = [&headers](SQLiteStatement& found) {
    while (found.step()) {
      Header header{found.integer(0), std::nullopt};
      if (auto meta = decodedMeta(found.bytes(2)))
        header.row = {std::move(*meta), std::string(found.bytes(1))};
      headers.push_back(std::move(header));
    }
  };
  if (const std::string* dataKey = filter.dataKey()) {
    SQLiteStatement one = database.statement(
        "SELECT sequence, data_key, meta FROM vellora_row WHERE table_name = ? AND data_key = ?");
    collect(one.bind(tableKey).bind(*dataKey));
  } else if (pairs == nullptr) {
    SQLiteStatement all = database.statement(
        "SELECT sequence, data_key, meta FROM vellora_row NOT INDEXED WHERE table_name = ?");
    collect(all.bind(tableKey));
  } else {
    const auto& [name, value] = rarestPair(database, tableKey, *pairs);
    SQLiteStatement some = database.statement(
        "SELECT r.sequence, r.data_key, r.meta"
        " FROM vellora_meta m INDEXED BY vellora_meta_pair CROSS JOIN vellora_row r ON r.sequence = "
        "m.sequence"
        " WHERE m.table_name = ? AND m.name = ? AND m.value = ?");
    collect(some.bind(tableKey).bind(name).bind(value));
  }
  return headers;
}

std::vector<Kept> readAll(SQLiteDatabase& database, const std::string& tableKey) {
  std::vector<Kept> rows;
  SQLiteStatement all = database.statement(
      "SELECT sequence, data_key, written, checksum, meta, data FROM vellora_row NOT INDEXED"
      " WHERE table_name = ? ORDER BY sequence");
  all.bind(tableKey);
  while (all.step()) {
    Kept kept{{decodedMeta(all.bytes(4)).value_or(Meta()), std::string(all.bytes(1))},
              Date::sinceReferenceDate(all.real(2)),
              std::nullopt};
    if (const auto sound = verifiedRow(database, all, tableKey)) {
      kept.data = sound->data;
      kept.found = indexHolds(database, tableKey, sound->sequence, sound->row.meta);
    }
    rows.push_back(std::move(kept));
  }
  return rows;
}

void write(SQLiteDatabase& database, const std::string& tableKey, const CorvaneSDK::Row& row,
           const Data& data, Date written) {
  if (const auto earlier = sequenceOf(database, tableKey, row.dataKey)) remove(database, *earlier);
  const std::string meta = encodedMeta(row.meta);
  const RowHead head{nextSequence(database), row.dataKey, written.secondsSinceReferenceDate(), meta};
  database
      .statement(
          "INSERT INTO vellora_row(sequence, table_name, data_key, written, checksum, meta, data)"
          " VALUES(?, ?, ?, ?, ?, ?, ?)")
      .bind(head.sequence)
      .bind(tableKey)
      .bind(head.dataKey)
      .bind(head.written)
      .bind(headChecksum(tableKey, head).add(data.view()).value())
      .bind(head.meta)
      .bind(data.view())
      .step();
  writePairs(database, tableKey, head.sequence, row.meta);
  const bool found = sequenceOf(database, tableKey, row.dataKey) == head.sequence &&
                     indexHolds(database, tableKey, head.sequence, row.meta);
  if (!found) database.noteDamage();
}

void remove(SQLiteDatabase& database, std::int64_t sequence) {
  database.largeRows().forget(sequence);
  database.statement("DELETE FROM vellora_meta WHERE sequence = ?").bind(sequence).step();
  database.statement("DELETE FROM vellora_row WHERE sequence = ?").bind(sequence).step();
}

void removeOutside(SQLiteDatabase& database, const std::string& tableKey, const LiveSpan& live) {
  std::vector<std::int64_t> sequences;
  {
    SQLiteStatement found = database.statement(
        "SELECT sequence FROM vellora_row WHERE table_name = ?1 AND written < ?2"
        " UNION ALL SELECT sequence FROM vellora_row WHERE table_name = ?1 AND written > ?3");
    found.bind(tableKey)
        .bind(live.earliest.secondsSinceReferenceDate())
        .bind(live.latest.secondsSinceReferenceDate());
    while (found.step()) sequences.push_back(found.integer(0));
  }
  for (const std::int64_t sequence : sequences) remove(database, sequence);
}

std::vector<std::string> tableKeys(SQLiteDatabase& database) {
  std::vector<std::string> keys;
  SQLiteStatement tables = database.statement("SELECT name FROM vellora_table ORDER BY name");
  while (tables.step()) keys.emplace_back(tables.bytes(0));
  return keys;
}

std::optional<MaxAge> maxAgeOfTable(SQLiteDatabase& database, const std::string& tableKey) {
  SQLiteStatement found = database.statement("SELECT max_age, checksum FROM vellora_table WHERE name = ?");
  if (!found.bind(tableKey).step()) return std::nullopt;
  if (checksum(tableKey, found.integer(0)) != found.integer(1)) return std::nullopt;
  return maxAgeOfSeconds(found.integer(0));
}

void writeTable(SQLiteDatabase& database, const CorvaneSDK::Table& table) {
  const auto maxAge = static_cast<std::int64_t>(seconds(table.maxAge()));
  database.statement("INSERT OR REPLACE INTO vellora_table(name, max_age, checksum) VALUES(?, ?, ?)")
      .bind(table.key())
      .bind(maxAge)
      .bind(checksum(table.key(), maxAge))
      .step();
}

}  // namespace vellora::hostkit::sqliteRows
