#include "hostkit/cache/sqlite/SQLiteTables.h"

#include <cstdint>
#include <string_view>

#include "hostkit/cache/rows/Checksum.h"
#include "hostkit/cache/rows/LiveSpan.h"

namespace vellora::hostkit::sqliteTables {

namespace {

using CorvaneSDK::Table;

/// The columns of the statement that reads a record, in their order.
struct Column {
  enum : int { maxAge, checksum };
};

std::int64_t checksum(std::string_view tableKey, std::int64_t maxAge) {
  return Checksum().add("table").add(tableKey).add(maxAge).value();
}

std::optional<Table::MaxAge> maxAgeOfSeconds(std::int64_t stored) {
  if (stored == static_cast<std::int64_t>(seconds(Table::MaxAge::sevenDays))) return Table::MaxAge::sevenDays;
  return std::nullopt;
}

}  // namespace

std::vector<std::string> keys(SQLiteDatabase& database) {
  std::vector<std::string> keys;
  SQLiteStatement tables = database.statement("SELECT name FROM vellora_table ORDER BY name");
  while (tables.step()) keys.emplace_back(tables.bytes(SQLiteStatement::onlyColumn));
  return keys;
}

std::optional<Table::MaxAge> maxAge(SQLiteDatabase& database, const std::string& tableKey) {
  SQLiteStatement found = database.statement("SELECT max_age, checksum FROM vellora_table WHERE name = ?");
  if (!found.bind(tableKey).step()) return std::nullopt;
  const std::int64_t stored = found.integer(Column::maxAge);
  if (checksum(tableKey, stored) != found.integer(Column::checksum)) return std::nullopt;
  return maxAgeOfSeconds(stored);
}

void write(SQLiteDatabase& database, const Table& table) {
  const auto maxAge = static_cast<std::int64_t>(seconds(table.maxAge()));
  database.statement("INSERT OR REPLACE INTO vellora_table(name, max_age, checksum) VALUES(?, ?, ?)")
      .bind(table.key())
      .bind(maxAge)
      .bind(checksum(table.key(), maxAge))
      .step();
}

}  // namespace vellora::hostkit::sqliteTables
