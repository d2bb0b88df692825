#include "apps/vellora/cache/ListCommand.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <variant>

#include "apps/vellora/cache/EntryName.h"
#include "apps/vellora/cache/EntryText.h"
#include "apps/vellora/command/ColumnChoice.h"
#include "apps/vellora/command/Document.h"
#include "apps/vellora/command/Output.h"
#include "apps/vellora/command/Problem.h"
#include "apps/vellora/command/RowText.h"
#include "apps/vellora/command/Rows.h"
#include "apps/vellora/command/TextTable.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora::command {

namespace {

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

WrittenContents written(const ListedFile& listed) {
  WrittenContents all{asText(listed.file), {}, {}};
  for (const auto& table : listed.contents.tables) all.tables.push_back({asText(table.key), {}});
  for (const auto& listing : listed.listings) {
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
    table.addRow({shortName(listing.entry), sizeText(listing.bytes), ageText(listing.ageSeconds),
                  nameOf(listing.state)});
  }
  return any ? std::string("\n").append(table.text("")) : std::string();
}

std::string textOf(const ListedFile& listed, const Arguments& arguments) {
  std::string text;
  if (arguments.cache.names) {
    for (const auto& listing : listed.listings) text.append(printable(shortName(listing.entry))).append("\n");
    return text;
  }
  text = Style::ofOutput(arguments.output.color).heading(listed.file).append("\n");
  if (listed.listings.empty()) text += "The cache is empty.\n";
  return text + tableOf(listed.listings, Kind::blob) + tableOf(listed.listings, Kind::row);
}

const std::vector<Column>& columns() {
  static const std::vector<Column> all{{"entry", "ENTRY"},
                                       {"name", "NAME"},
                                       {"kind", "KIND"},
                                       {"bytes", "BYTES"},
                                       {"ageSeconds", "AGE IN SECONDS"},
                                       {"state", "STATE"},
                                       {"file", "FILE"}};
  return all;
}

RowGroup rowsOf(const ListedFile& listed) {
  RowGroup group{listed.file};
  for (const auto& listing : listed.listings) {
    const auto entry = written(listing);
    group.rows.push_back(
        {{entry.entry, shortName(entry.entry), listing.kind == Kind::blob ? "blob" : "row",
          entry.bytes ? Value(*entry.bytes) : Value(), entry.ageSeconds ? Value(*entry.ageSeconds) : Value(),
          entry.state, asText(listed.file)}});
  }
  return group;
}

/// Whether a row for each entry is printed, and not the tables for people.
bool printsRows(const OutputArguments& output) {
  return !output.prints(Format::table) || !output.columns.empty();
}

ExitCode printRows(const Arguments& arguments, std::vector<RowGroup> groups) {
  const auto chosen = chosenColumns(columns(), arguments.output);
  if (const auto* problem = std::get_if<Problem>(&chosen)) return complain(*problem);
  Rows rows{columns(), std::move(groups)};
  rows.hasHeadings = rows.groups.size() > 1;
  return printText(rowText(rows, std::get<0>(chosen), arguments.output));
}

}  // namespace

ExitCode listEntries(const Arguments& arguments, const ListedFile& listed) {
  if (arguments.printsDocument()) return printJson(encode(written(listed)));
  if (printsRows(arguments.output)) return printRows(arguments, {rowsOf(listed)});
  return printText(textOf(listed, arguments));
}

ExitCode listEntries(const Arguments& arguments, const std::vector<ListedFile>& all) {
  if (arguments.printsDocument()) {
    std::vector<WrittenContents> documents;
    documents.reserve(all.size());
    for (const auto& listed : all) documents.push_back(written(listed));
    return printJson(encode(documents));
  }
  if (printsRows(arguments.output)) {
    std::vector<RowGroup> groups;
    groups.reserve(all.size());
    for (const auto& listed : all) groups.push_back(rowsOf(listed));
    return printRows(arguments, std::move(groups));
  }
  std::string text;
  for (const auto& listed : all) {
    if (!text.empty() && !arguments.cache.names) text += "\n";
    text += textOf(listed, arguments);
  }
  return printText(text);
}

}  // namespace vellora::command
