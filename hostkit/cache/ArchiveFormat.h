#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "vellora/Host/Row.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora::hostkit {

/// The text of an archive as JSON records. Whoever changes a field or its meaning raises the version, so
/// that older programs tell a text that they cannot read from a damaged one.
namespace archiveFormat {

inline constexpr std::string_view name = "vellora-cache";
inline constexpr std::int64_t version = 2;                  ///< the newest
inline constexpr std::int64_t plainVersion = 1;             ///< of a text whose keys and meta are all UTF-8
inline constexpr std::string_view sevenDays = "sevenDays";  ///< the only maximum age that tables have

/// Bytes as JSON can hold them: as they are when they are UTF-8, else as hexadecimal digits.
struct Bytes {
  std::optional<std::string> text;
  std::optional<std::string> hex;

  static constexpr std::string_view recordName = "WrittenBytes";
  static constexpr auto fields() {
    return std::tuple(json::field("text", &Bytes::text), json::field("hex", &Bytes::hex));
  }
};

/// A key that is not UTF-8 stands in `keyHex`, and `key` is empty.
struct Blob {
  std::string key;
  std::optional<std::string> keyHex;
  Bytes data;

  static constexpr std::string_view recordName = "WrittenBlob";
  static constexpr auto fields() {
    return std::tuple(json::field("key", &Blob::key), json::field("keyHex", &Blob::keyHex),
                      json::field("data", &Blob::data));
  }
};

/// Meta and data key with anything that is not UTF-8 stand in the fields for digits, those of the meta in the
/// form of `encodedMeta`. The others are then empty.
struct Row {
  CorvaneSDK::Meta meta;
  std::optional<std::string> metaHex;
  std::optional<std::string> dataKey;
  std::optional<std::string> dataKeyHex;
  Bytes data;

  static constexpr std::string_view recordName = "WrittenRow";
  static constexpr auto fields() {
    return std::tuple(json::field("meta", &Row::meta), json::field("metaHex", &Row::metaHex),
                      json::field("dataKey", &Row::dataKey), json::field("dataKeyHex", &Row::dataKeyHex),
                      json::field("data", &Row::data));
  }
};

/// As with a blob's key.
struct Table {
  std::string key;
  std::optional<std::string> keyHex;
  std::string maxAge;
  std::vector<Row> rows;

  static constexpr std::string_view recordName = "WrittenTable";
  static constexpr auto fields() {
    return std::tuple(json::field("key", &Table::key), json::field("keyHex", &Table::keyHex),
                      json::field("maxAge", &Table::maxAge), json::field("rows", &Table::rows));
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

/// The whole text.
struct Document {
  std::string format;
  std::int64_t version = 0;
  std::int64_t checksum = 0;
  std::vector<Blob> blobs;
  std::vector<Table> tables;

  static constexpr std::string_view recordName = "Document";
  static constexpr auto fields() {
    return std::tuple(json::field("format", &Document::format), json::field("version", &Document::version),
                      json::field("checksum", &Document::checksum), json::field("blobs", &Document::blobs),
                      json::field("tables", &Document::tables));
  }
};

}  // namespace archiveFormat

}  // namespace vellora::hostkit
