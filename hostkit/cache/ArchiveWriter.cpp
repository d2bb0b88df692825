#include "hostkit/cache/ArchiveWriter.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "hostkit/cache/ArchiveBytes.h"
#include "hostkit/cache/ArchiveChecksum.h"
#include "hostkit/cache/ArchiveFormat.h"
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

void writeBlob(Lines& lines, const CacheArchive::Blob& blob) {
  lines.value(archiveFormat::Blob{blob.key, writtenBytes(blob.data)});
}

void writeRow(Lines& lines, const CacheArchive::Row& row) {
  lines.value(archiveFormat::Row{row.meta, row.dataKey, writtenBytes(row.data)});
}

void writeTable(Lines& lines, const CacheArchive::Table& table) {
  lines.literal("{\"key\":").value(table.key);
  lines.literal(",\"maxAge\":").value(std::string(archiveFormat::sevenDays)).literal(",\"rows\":");
  lines.list(table.rows, [&lines](const auto& row) { writeRow(lines, row); });
  lines.literal("}");
}

}  // namespace

Result<Data> writtenArchive(const CacheArchive& archive) {
  Lines lines;
  lines.literal("{\"format\":").value(std::string(archiveFormat::name));
  lines.literal(",\"version\":").value(archiveFormat::version);
  lines.literal(",\"checksum\":").value(archiveChecksum(archive)).literal(",\"blobs\":");
  lines.list(archive.blobs, [&lines](const auto& blob) { writeBlob(lines, blob); });
  lines.literal(",\"tables\":");
  lines.list(archive.tables, [&lines](const auto& table) { writeTable(lines, table); });
  lines.literal("}");
  return std::move(lines).text();
}

}  // namespace vellora::hostkit
