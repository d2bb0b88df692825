#include "hostkit/cache/ArchiveWriter.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "hostkit/cache/ArchiveBytes.h"
#include "hostkit/cache/ArchiveChecksum.h"
#include "hostkit/cache/ArchiveFormat.h"
#include "hostkit/cache/rows/MetaCodec.h"
#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora::hostkit {

namespace {

/// JSON with each entry of a list on a line of its own.
class Lines {
 public:
  Lines& literal(std::string_view text) {
    text_ += text;
    return *this;
  }

  template <class T>
  Lines& value(const T& value) {
    const auto encoded = json::encode(value);
    if (encoded) text_ += encoded.value().view();
    if (!encoded && !error_) error_ = encoded.error();
    return *this;
  }

  template <class Entries, class Write>
  void list(const Entries& entries, const Write& write) {
    const char* separator = "\n";
    text_ += "[";
    for (const auto& entry : entries) {
      text_ += separator;
      write(entry);
      separator = ",\n";
    }
    text_ += "]";
  }

  [[nodiscard]] Result<Data> text() && {
    if (error_) return *std::move(error_);
    return Data(text_);
  }

 private:
  std::string text_;
  std::optional<Error> error_;
};

bool isPlain(std::string_view key) {
  return !hexOfKey(key);
}

bool isPlain(const CacheArchive::Row& row) {
  return isPlain(encodedMeta(row.meta)) && isPlain(row.dataKey.value_or(""));
}

bool isPlain(const CacheArchive::Table& table) {
  return isPlain(table.key) && std::all_of(table.rows.begin(), table.rows.end(),
                                           [](const CacheArchive::Row& row) { return isPlain(row); });
}

/// Whether the first version of the format, which every program reads, can hold `archive`.
bool isPlain(const CacheArchive& archive) {
  return std::all_of(archive.blobs.begin(), archive.blobs.end(),
                     [](const auto& blob) { return isPlain(std::string_view(blob.key)); }) &&
         std::all_of(archive.tables.begin(), archive.tables.end(),
                     [](const auto& table) { return isPlain(table); });
}

void writeBlob(Lines& lines, const CacheArchive::Blob& blob) {
  const auto hex = hexOfKey(blob.key);
  lines.value(archiveFormat::Blob{hex ? "" : blob.key, hex, writtenBytes(blob.data)});
}

void writeRow(Lines& lines, const CacheArchive::Row& row) {
  archiveFormat::Row written;
  written.metaHex = hexOfKey(encodedMeta(row.meta));
  if (!written.metaHex) written.meta = row.meta;
  if (row.dataKey) written.dataKeyHex = hexOfKey(*row.dataKey);
  if (!written.dataKeyHex) written.dataKey = row.dataKey;
  written.data = writtenBytes(row.data);
  lines.value(written);
}

void writeTable(Lines& lines, const CacheArchive::Table& table) {
  const auto hex = hexOfKey(table.key);
  lines.literal("{\"key\":").value(hex ? std::string() : table.key);
  if (hex) lines.literal(",\"keyHex\":").value(*hex);
  lines.literal(",\"maxAge\":").value(std::string(archiveFormat::sevenDays)).literal(",\"rows\":");
  lines.list(table.rows, [&lines](const auto& row) { writeRow(lines, row); });
  lines.literal("}");
}

}  // namespace

Result<Data> writtenArchive(const CacheArchive& archive) {
  Lines lines;
  lines.literal("{\"format\":").value(std::string(archiveFormat::name));
  lines.literal(",\"version\":")
      .value(isPlain(archive) ? archiveFormat::plainVersion : archiveFormat::version);
  lines.literal(",\"checksum\":").value(archiveChecksum(archive)).literal(",\"blobs\":");
  lines.list(archive.blobs, [&lines](const auto& blob) { writeBlob(lines, blob); });
  lines.literal(",\"tables\":");
  lines.list(archive.tables, [&lines](const auto& table) { writeTable(lines, table); });
  lines.literal("}");
  return std::move(lines).text();
}

}  // namespace vellora::hostkit
