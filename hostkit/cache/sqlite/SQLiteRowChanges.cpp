#include "hostkit/cache/sqlite/SQLiteRowChanges.h"

#include <optional>
#include <vector>

#include "hostkit/cache/rows/MetaCodec.h"
#include "hostkit/cache/sqlite/SQLiteMetaIndex.h"
#include "hostkit/cache/sqlite/SQLiteRowFormat.h"

namespace vellora::hostkit::sqliteRows {

namespace {

std::int64_t nextSequence(SQLiteDatabase& database) {
  SQLiteStatement next = database.statement(
      "SELECT max(coalesce((SELECT seq FROM sqlite_sequence WHERE name = 'vellora_row'), 0),"
      " coalesce((SELECT max(sequence) FROM vellora_row), 0)) + 1");
  return next.step() ? next.integer(SQLiteStatement::onlyColumn) : 0;
}

std::optional<std::int64_t> sequenceOf(SQLiteDatabase& database, const std::string& tableKey,
                                       const std::string& dataKey) {
  SQLiteStatement found =
      database.statement("SELECT sequence FROM vellora_row WHERE table_name = ? AND data_key = ?");
  return found.bind(tableKey).bind(dataKey).step() ? std::optional(found.integer(SQLiteStatement::onlyColumn))
                                                   : std::nullopt;
}

/// Whether what was written can be found again by its data key and by its meta.
bool canBeFound(SQLiteDatabase& database, const std::string& tableKey, std::int64_t sequence,
                const CorvaneSDK::Row& row) {
  return sequenceOf(database, tableKey, row.dataKey) == sequence &&
         sqliteMetaIndex::holds(database, tableKey, sequence, row.meta);
}

}  // namespace

void write(SQLiteDatabase& database, const std::string& tableKey, const CorvaneSDK::Row& row,
           const Data& data, Date written) {
  if (const auto earlier = sequenceOf(database, tableKey, row.dataKey)) remove(database, *earlier);
  const std::string meta = encodedMeta(row.meta);
  const sqliteRowFormat::Head head{nextSequence(database), row.dataKey, written.secondsSinceReferenceDate(),
                                   meta};
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
  sqliteMetaIndex::add(database, tableKey, head.sequence, row.meta);
  if (!canBeFound(database, tableKey, head.sequence, row)) database.noteDamage();
}

void remove(SQLiteDatabase& database, std::int64_t sequence) {
  database.largeRows().forget(sequence);
  sqliteMetaIndex::remove(database, sequence);
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
    while (found.step()) sequences.push_back(found.integer(SQLiteStatement::onlyColumn));
  }
  for (const std::int64_t sequence : sequences) remove(database, sequence);
}

}  // namespace vellora::hostkit::sqliteRows
