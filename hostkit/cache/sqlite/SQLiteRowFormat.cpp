#include "hostkit/cache/sqlite/SQLiteRowFormat.h"

#include <utility>

#include "hostkit/cache/rows/MetaCodec.h"

namespace vellora::hostkit::sqliteRowFormat {

namespace {

/// The row of that head and `data`; null when the two do not fit `checksum`.
std::shared_ptr<const StoredRow> verifiedRow(const Head& head, Checksum checksumOfHead, std::string_view data,
                                             std::int64_t checksum) {
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

}  // namespace

Checksum headChecksum(std::string_view tableKey, const Head& head) {
  const Date written = Date::sinceReferenceDate(head.written);
  return Checksum().add("row").add(tableKey).add(head.sequence).add(head.dataKey).add(written).add(head.meta);
}

std::shared_ptr<const StoredRow> verifiedRow(SQLiteDatabase& database, const SQLiteStatement& found,
                                             std::string_view tableKey) {
  const Head head{found.integer(Column::sequence), found.bytes(Column::dataKey), found.real(Column::written),
                  found.bytes(Column::meta)};
  const Checksum checksumOfHead = headChecksum(tableKey, head);
  const std::int64_t checksum = found.integer(Column::checksum);
  if (!found.isNull(Column::data)) {
    return verifiedRow(head, checksumOfHead, found.bytes(Column::data), checksum);
  }
  const LargeRows::Identity identity{head.sequence, checksumOfHead.value(), checksum};
  if (auto known = database.largeRows().find(identity)) return known;
  SQLiteStatement large = database.statement("SELECT data FROM vellora_row WHERE sequence = ?");
  if (!large.bind(head.sequence).step()) return nullptr;
  auto stored = verifiedRow(head, checksumOfHead, large.bytes(SQLiteStatement::onlyColumn), checksum);
  if (stored) database.largeRows().keep(identity, stored);
  return stored;
}

}  // namespace vellora::hostkit::sqliteRowFormat
