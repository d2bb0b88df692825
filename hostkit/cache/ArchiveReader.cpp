#include "hostkit/cache/ArchiveReader.h"

#include <optional>
#include <utility>

#include "hostkit/cache/ArchiveBytes.h"
#include "hostkit/cache/ArchiveChecksum.h"
#include "hostkit/cache/ArchiveFormat.h"
#include "vellora/Platform/Json/DecodingError.h"
#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora::hostkit {

namespace {

using Reason = CacheArchiveError::Reason;

Error refused(Reason reason) {
  return CacheArchiveError{reason};
}

/// Why the text is none that this version reads; absent when it is.
std::optional<Error> faultOfHeading(const Data& text) {
  const auto heading = json::decode<archiveFormat::Heading>(text);
  if (!heading) {
    const auto* error = heading.error().as<DecodingError>();
    if (error != nullptr && error->kind() == DecodingError::Kind::invalidJson) return heading.error();
    return refused(Reason::otherFormat);
  }
  if (heading.value().format != archiveFormat::name) return refused(Reason::otherFormat);
  if (heading.value().version > archiveFormat::version) return refused(Reason::newerVersion);
  return std::nullopt;
}

std::optional<CacheArchive::Table> readTable(const archiveFormat::Table& written) {
  if (written.maxAge != archiveFormat::sevenDays) return std::nullopt;
  CacheArchive::Table table{written.key, {}};
  for (const auto& row : written.rows) {
    auto data = readBytes(row.data);
    if (!data) return std::nullopt;
    table.rows.push_back({row.meta, row.dataKey, *std::move(data)});
  }
  return table;
}

std::optional<CacheArchive> readEntries(const archiveFormat::Document& document) {
  CacheArchive archive;
  for (const auto& blob : document.blobs) {
    auto data = readBytes(blob.data);
    if (!data) return std::nullopt;
    archive.blobs.push_back({blob.key, *std::move(data)});
  }
  for (const auto& written : document.tables) {
    auto table = readTable(written);
    if (!table) return std::nullopt;
    archive.tables.push_back(*std::move(table));
  }
  return archive;
}

}  // namespace

Result<CacheArchive> readArchive(const Data& text) {
  if (auto fault = faultOfHeading(text)) return *std::move(fault);
  const auto document = json::decode<archiveFormat::Document>(text);
  if (!document) return refused(Reason::damaged);
  auto archive = readEntries(document.value());
  if (!archive || archiveChecksum(*archive) != document.value().checksum) return refused(Reason::damaged);
  return *std::move(archive);
}

}  // namespace vellora::hostkit
