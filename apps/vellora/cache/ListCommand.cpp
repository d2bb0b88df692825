#include "apps/vellora/cache/ListCommand.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <tuple>

#include "apps/vellora/cache/EntryText.h"
#include "apps/vellora/command/Document.h"
#include "apps/vellora/command/Output.h"
#include "apps/vellora/command/TextTable.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora::command {

namespace {

using hostkit::SQLiteCacheContents;
using Kind = CacheListing::Kind;

struct WrittenListing {
  std::string entry;
  std::optional<std::int64_t> bytes;
  std::optional<double> ageSeconds;
  std::string state;

  static constexpr auto fields() {
    return std::tuple(
        json::field("entry", &WrittenListing::entry), json::field("bytes", &WrittenListing::bytes),
        json::field("ageSeconds", &WrittenListing::ageSeconds), json::field("state", &WrittenListing::state));
  }
};

struct WrittenTable {
  std::string key;
  std::vector<WrittenListing> rows;

  static constexpr auto fields() {
    return std::tuple(json::field("key", &WrittenTable::key), json::field("rows", &WrittenTable::rows));
  }
};

struct WrittenContents {
  std::string file;
  std::vector<WrittenListing> blobs;
  std::vector<WrittenTable> tables;

  static constexpr auto fields() {
    return std::tuple(json::field("file", &WrittenContents::file),
                      json::field("blobs", &WrittenContents::blobs),
                      json::field("tables", &WrittenContents::tables));
  }
};

WrittenListing written(const CacheListing& listing) {
  const auto bytes = listing.bytes ? std::optional(static_cast<std::int64_t>(*listing.bytes)) : std::nullopt;
  return {listing.entry, bytes, listing.ageSeconds, nameOf(listing.state)};
}

WrittenContents written(const std::string& file, const SQLiteCacheContents& contents,
                        const std::vector<CacheListing>& listings) {
  WrittenContents all{asText(file), {}, {}};
  for (const auto& table : contents.tables) all.tables.push_back({asText(table.key), {}});
  for (const auto& listing : listings) {
    if (listing.kind == Kind::blob) {
      all.blobs.push_back(written(listing));
      continue;
    }
    const auto table = std::find_if(all.tables.begin(), all.tables.end(),
                                    [&](const auto& next) { return next.key == asText(listing.tableKey); });
    table->rows.push_back(written(listing));
  }
  return all;
}

/// The entries of one kind, behind an empty line; no text when there are none.
std::string tableOf(const std::vector<CacheListing>& listings, Kind kind) {
  TextTable table({kind == Kind::blob ? "BLOB" : "ROW", "SIZE", "AGE", "STATE"});
  bool any = false;
  for (const auto& listing : listings) {
    if (listing.kind != kind) continue;
    any = true;
    table.addRow(
        {listing.entry, sizeText(listing.bytes), ageText(listing.ageSeconds), nameOf(listing.state)});
  }
  return any ? std::string("\n").append(table.text("")) : std::string();
}

}  // namespace

ExitCode listEntries(const Arguments& arguments, const SQLiteCacheContents& contents,
                     const std::vector<CacheListing>& listings) {
  if (arguments.json) return printJson(encode(written(arguments.cacheFile, contents, listings)));
  std::string text = Style(arguments.color).heading(arguments.cacheFile).append("\n");
  if (listings.empty()) text += "The cache is empty.\n";
  return printText(text + tableOf(listings, Kind::blob) + tableOf(listings, Kind::row));
}

}  // namespace vellora::command
