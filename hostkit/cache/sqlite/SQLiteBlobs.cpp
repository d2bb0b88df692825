#include "hostkit/cache/sqlite/SQLiteBlobs.h"

#include <cstdint>
#include <string_view>
#include <utility>

#include "hostkit/cache/rows/Checksum.h"

namespace vellora::hostkit::sqliteBlobs {

namespace {

/// The columns of the statements that read blobs, in their order.
struct Column {
  enum : int { generation, checksum, data, key };
};

std::int64_t checksum(std::string_view key, std::int64_t generation, std::string_view data) {
  return Checksum().add("blob").add(key).add(generation).add(data).value();
}

/// The blob that the statement stands on; no value when it is damaged.
std::optional<Data> verifiedBlob(const SQLiteStatement& found, std::string_view key) {
  const std::string_view bytes = found.bytes(Column::data);
  if (checksum(key, found.integer(Column::generation), bytes) != found.integer(Column::checksum))
    return std::nullopt;
  return Data(bytes.data(), bytes.size());
}

std::int64_t nextGeneration(SQLiteDatabase& database) {
  SQLiteStatement next = database.statement(
      "SELECT max(coalesce((SELECT seq FROM sqlite_sequence WHERE name = 'vellora_blob'), 0),"
      " coalesce((SELECT max(generation) FROM vellora_blob), 0)) + 1");
  return next.step() ? next.integer(SQLiteStatement::onlyColumn) : 0;
}

std::optional<std::int64_t> generationOf(SQLiteDatabase& database, const std::string& key) {
  SQLiteStatement found = database.statement("SELECT generation FROM vellora_blob WHERE name = ?");
  return found.bind(key).step() ? std::optional(found.integer(SQLiteStatement::onlyColumn)) : std::nullopt;
}

}  // namespace

std::optional<Data> read(SQLiteDatabase& database, const std::string& key) {
  SQLiteStatement blob =
      database.statement("SELECT generation, checksum, data FROM vellora_blob WHERE name = ?");
  return blob.bind(key).step() ? verifiedBlob(blob, key) : std::nullopt;
}

void readAll(SQLiteDatabase& database,
             const std::function<void(std::string key, std::optional<Data> blob)>& visit) {
  SQLiteStatement blobs =
      database.statement("SELECT generation, checksum, data, name FROM vellora_blob ORDER BY name");
  while (blobs.step()) {
    std::string key(blobs.bytes(Column::key));
    auto blob = verifiedBlob(blobs, key);
    visit(std::move(key), std::move(blob));
  }
}

void write(SQLiteDatabase& database, const std::string& key, const Data& blob) {
  remove(database, key);
  const std::int64_t generation = nextGeneration(database);
  database.statement("INSERT INTO vellora_blob(generation, name, checksum, data) VALUES(?, ?, ?, ?)")
      .bind(generation)
      .bind(key)
      .bind(checksum(key, generation, blob.view()))
      .bind(blob.view())
      .step();
  if (generationOf(database, key) != generation) database.noteDamage();
}

void remove(SQLiteDatabase& database, const std::string& key) {
  database.statement("DELETE FROM vellora_blob WHERE name = ?").bind(key).step();
}

}  // namespace vellora::hostkit::sqliteBlobs
