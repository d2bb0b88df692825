#include "hostkit/cache/CacheArchive.h"

#include <charconv>
#include <cstdint>
#include <string_view>
#include <utility>

#include "hostkit/cache/rows/Checksum.h"
#include "hostkit/cache/rows/MetaCodec.h"
#include "vellora/DataServices/FetchTime.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Platform/Json/DecodingError.h"
#include "vellora/Platform/Json/JsonCodec.h"
#include "vellora/Platform/Text/Utf8.h"

namespace vellora::hostkit {

namespace {

using CorvaneSDK::CacheTable;
using Reason = CacheArchiveError::Reason;

constexpr std::string_view format = "vellora-cache";
constexpr std::int64_t version = 1;
constexpr std::string_view sevenDays = "sevenDays";

/// Bytes as JSON can hold them: as they are when they are UTF-8, else as hexadecimal digits.
struct WrittenBytes {
  std::optional<std::string> text;
  std::optional<std::string> hex;

  static constexpr std::string_view recordName = "WrittenBytes";
  static constexpr auto fields() {
    return std::tuple(json::field("text", &WrittenBytes::text), json::field("hex", &WrittenBytes::hex));
  }
};

struct WrittenBlob {
  std::string key;
  WrittenBytes data;

  static constexpr std::string_view recordName = "WrittenBlob";
  static constexpr auto fields() {
    return std::tuple(json::field("key", &WrittenBlob::key), json::field("data", &WrittenBlob::data));
  }
};

struct WrittenRow {
  CorvaneSDK::Meta meta;
  std::optional<std::string> dataKey;
  WrittenBytes data;

  static constexpr std::string_view recordName = "WrittenRow";
  static constexpr auto fields() {
    return std::tuple(json::field("meta", &WrittenRow::meta), json::field("dataKey", &WrittenRow::dataKey),
                      json::field("data", &WrittenRow::data));
  }
};

struct WrittenTable {
  std::string key;
  std::string maxAge;
  std::vector<WrittenRow> rows;

  static constexpr std::string_view recordName = "WrittenTable";
  static constexpr auto fields() {
    return std::tuple(json::field("key", &WrittenTable::key), json::field("maxAge", &WrittenTable::maxAge),
                      json::field("rows", &WrittenTable::rows));
  }
};

/// What every version of the format begins with.
struct Heading {
  std::string format;
  std::int64_t version = 0;

  static constexpr std::string_view recordName = "Heading";
  static constexpr auto fields() {
    return std::tuple(json::field("format", &Heading::format), json::field("version", &Heading::version));
  }
};

struct Document {
  std::string format;
  std::int64_t version = 0;
  std::int64_t checksum = 0;
  std::vector<WrittenBlob> blobs;
  std::vector<WrittenTable> tables;

  static constexpr std::string_view recordName = "Document";
  static constexpr auto fields() {
    return std::tuple(json::field("format", &Document::format), json::field("version", &Document::version),
                      json::field("checksum", &Document::checksum), json::field("blobs", &Document::blobs),
                      json::field("tables", &Document::tables));
  }
};

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    const auto character = firstCharacter(text);
    if (character.codePoint == Utf8Character::replacement && character.length == 1) return false;
    text.remove_prefix(character.length);
  }
  return true;
}

WrittenBytes written(const Data& data) {
  if (isUtf8(data.view())) return {std::string(data.view()), std::nullopt};
  constexpr std::string_view digits = "0123456789abcdef";
  std::string hex;
  for (const char next : data.view()) {
    const auto byte = static_cast<unsigned char>(next);
    hex.append({digits[byte >> 4U], digits[byte & 15U]});
  }
  return {std::nullopt, std::move(hex)};
}

std::optional<Data> read(const WrittenBytes& bytes) {
  if (bytes.text.has_value() == bytes.hex.has_value()) return std::nullopt;
  if (bytes.text) return Data(*bytes.text);
  if (bytes.hex->size() % 2 != 0) return std::nullopt;
  std::string read;
  for (const char* digit = bytes.hex->data(); digit != bytes.hex->data() + bytes.hex->size(); digit += 2) {
    unsigned char byte = 0;
    const auto [end, error] = std::from_chars(digit, digit + 2, byte, 16);
    if (error != std::errc() || end != digit + 2) return std::nullopt;
    read += static_cast<char>(byte);
  }
  return Data(read);
}

std::int64_t checksum(const CacheArchive& archive) {
  Checksum sum;
  for (const auto& blob : archive.blobs) sum.add("blob").add(blob.key).add(blob.data.view());
  for (const auto& table : archive.tables) {
    sum.add("table").add(table.key);
    for (const auto& row : table.rows) {
      sum.add("row").add(encodedMeta(row.meta)).add(row.dataKey ? "keyed" : "").add(row.dataKey.value_or(""));
      sum.add(row.data.view());
    }
  }
  return sum.value();
}

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

std::optional<CacheArchive> read(const Document& document) {
  CacheArchive archive;
  for (const auto& blob : document.blobs) {
    auto data = read(blob.data);
    if (!data) return std::nullopt;
    archive.blobs.push_back({blob.key, *std::move(data)});
  }
  for (const auto& table : document.tables) {
    if (table.maxAge != sevenDays) return std::nullopt;
    archive.tables.push_back({table.key, {}});
    for (const auto& row : table.rows) {
      auto data = read(row.data);
      if (!data) return std::nullopt;
      archive.tables.back().rows.push_back({row.meta, row.dataKey, *std::move(data)});
    }
  }
  if (checksum(archive) != document.checksum) return std::nullopt;
  return archive;
}

CorvaneSDK::Table describe(const CacheArchive::Table& table) {
  using CorvaneSDK::Table;
  return Table::emptyWithKey(table.key, Table::MaxAge::sevenDays);
}

}  // namespace

std::string CacheArchiveError::localizedDescription() const {
  switch (reason) {
    case Reason::otherFormat:
      return "This is not an archive of a cache. Choose a file that was written as one.";
    case Reason::newerVersion:
      return "This archive was written by a newer version of this library. Update this program, or write the "
             "archive with this version.";
    case Reason::damaged:
      break;
  }
  return "This archive is damaged, or was changed by hand. Write it again from its cache.";
}

CacheArchive CacheArchive::of(const SQLiteCacheContents& contents) {
  CacheArchive archive;
  for (const auto& blob : contents.blobs) {
    if (blob.data) archive.blobs.push_back({blob.key, *blob.data});
  }
  for (const auto& table : contents.tables) {
    archive.tables.push_back({table.key, {}});
    for (const auto& [row, date, data, outdated] : table.rows) {
      if (!data || outdated) continue;
      const bool keyedByMeta = row.dataKey == derivedDataKey(row.meta);
      archive.tables.back().rows.push_back(
          {row.meta, keyedByMeta ? std::nullopt : std::optional(row.dataKey), *data});
    }
  }
  return archive;
}

Result<CacheArchive> CacheArchive::decode(const Data& text) {
  const auto heading = json::decode<Heading>(text);
  if (!heading) {
    const auto* error = heading.error().as<DecodingError>();
    if (error != nullptr && error->kind() == DecodingError::Kind::invalidJson) return heading.error();
    return Error(CacheArchiveError{Reason::otherFormat});
  }
  if (heading.value().format != format) return Error(CacheArchiveError{Reason::otherFormat});
  if (heading.value().version > version) return Error(CacheArchiveError{Reason::newerVersion});
  const auto document = json::decode<Document>(text);
  if (!document) return Error(CacheArchiveError{Reason::damaged});
  auto archive = read(document.value());
  if (!archive) return Error(CacheArchiveError{Reason::damaged});
  return *std::move(archive);
}

Result<Data> CacheArchive::encode() const {
  Lines lines;
  lines.literal("{\"format\":").value(std::string(format)).literal(",\"version\":").value(version);
  lines.literal(",\"checksum\":").value(checksum(*this)).literal(",\"blobs\":");
  lines.list(blobs, [&lines](const Blob& blob) { lines.value(WrittenBlob{blob.key, written(blob.data)}); });
  lines.literal(",\"tables\":");
  lines.list(tables, [&lines](const Table& table) {
    lines.literal("{\"key\":").value(table.key);
    lines.literal(",\"maxAge\":").value(std::string(sevenDays)).literal(",\"rows\":");
    lines.list(table.rows, [&lines](const Row& row) {
      lines.value(WrittenRow{row.meta, row.dataKey, written(row.data)});
    });
    lines.literal("}");
  });
  lines.literal("}");
  return std::move(lines).text();
}

CacheArchive CacheArchive::fetchedAt(Date time) const {
  CacheArchive archive = *this;
  for (auto& blob : archive.blobs) {
    if (auto restamped = withFetchTime(blob.key, blob.data, time)) blob.data = *std::move(restamped);
  }
  return archive;
}

std::optional<std::string> CacheArchive::foundIn(CorvaneSDK::Cache& cache) const {
  for (const auto& table : tables) {
    const auto existing = CacheTable::open(cache, table.key);
    if (existing && !existing->fetch(CorvaneSDK::Query::oldest({0, 1})).empty()) return table.key;
  }
  for (const auto& blob : blobs) {
    if (cache.load(blob.key)) return blob.key;
  }
  return std::nullopt;
}

bool CacheArchive::restore(CorvaneSDK::Cache& cache) const {
  bool stored = true;
  for (const auto& table : tables) {
    auto opened = CacheTable::open(cache, table.key);
    if (!opened) opened = CacheTable::create(cache, describe(table));
    for (const auto& row : table.rows) {
      stored = opened && opened->upsert({row.data, row.meta, row.dataKey}) && stored;
    }
  }
  for (const auto& blob : blobs) stored = cache.save(blob.data, blob.key) && stored;
  return stored;
}

}  // namespace vellora::hostkit
