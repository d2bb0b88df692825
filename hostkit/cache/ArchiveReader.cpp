#include "hostkit/cache/ArchiveReader.h"

#include <cmath>
#include <optional>
#include <utility>

#include "hostkit/cache/ArchiveBytes.h"
#include "hostkit/cache/ArchiveChecksum.h"
#include "hostkit/cache/ArchiveFormat.h"
#include "hostkit/cache/rows/MetaCodec.h"
#include "vellora/DataServices/FetchTime.h"
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
  if (heading.value().version < archiveFormat::plainVersion) return refused(Reason::damaged);
  return std::nullopt;
}

std::optional<CorvaneSDK::Meta> readMeta(const archiveFormat::Row& written) {
  if (!written.metaHex) return written.meta;
  const auto bytes = readKey("", written.metaHex);
  return bytes ? decodedMeta(*bytes) : std::nullopt;
}

std::optional<CacheArchive::Row> readRow(const archiveFormat::Row& written) {
  auto meta = readMeta(written);
  auto data = readBytes(written.data);
  if (!meta || !data) return std::nullopt;
  CacheArchive::Row row{*std::move(meta), written.dataKey, *std::move(data)};
  if (written.dataKeyHex) row.dataKey = readKey("", written.dataKeyHex);
  const bool isWhole = row.dataKey || !written.dataKeyHex;
  return isWhole ? std::optional(std::move(row)) : std::nullopt;
}

std::optional<CacheArchive::Table> readTable(const archiveFormat::Table& written) {
  auto key = readKey(written.key, written.keyHex);
  if (!key || written.maxAge != archiveFormat::sevenDays) return std::nullopt;
  CacheArchive::Table table{*std::move(key), {}};
  for (const auto& next : written.rows) {
    auto row = readRow(next);
    if (!row) return std::nullopt;
    table.rows.push_back(*std::move(row));
  }
  return table;
}

/// A list that was fetched at a moment that is no number counts as fresh for ever.
bool tellsNoMoment(const CacheArchive::Blob& blob) {
  if (blob.key != sObjectsFetchTimeKey && blob.key != themesFetchTimeKey) return false;
  const auto seconds = secondsInFetchTimeStamp(blob.data);
  return seconds && !std::isfinite(*seconds);
}

std::optional<CacheArchive::Blob> readBlob(const archiveFormat::Blob& written) {
  auto key = readKey(written.key, written.keyHex);
  auto data = readBytes(written.data);
  if (!key || !data) return std::nullopt;
  CacheArchive::Blob blob{*std::move(key), *std::move(data)};
  return tellsNoMoment(blob) ? std::nullopt : std::optional(std::move(blob));
}

std::optional<CacheArchive> readEntries(const archiveFormat::Document& document) {
  CacheArchive archive;
  for (const auto& written : document.blobs) {
    auto blob = readBlob(written);
    if (!blob) return std::nullopt;
    archive.blobs.push_back(*std::move(blob));
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
