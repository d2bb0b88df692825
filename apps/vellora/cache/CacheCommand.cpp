#include "apps/vellora/cache/CacheCommand.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <map>
#include <sstream>
#include <string_view>
#include <utility>

#include "apps/vellora/cache/CacheListing.h"
#include "apps/vellora/cache/CacheTransfer.h"
#include "apps/vellora/command/Output.h"
#include "apps/vellora/command/TextTable.h"
#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "vellora/DataServices/FetchTime.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora::command {

namespace {

using hostkit::SQLiteCache;
using hostkit::SQLiteCacheContents;
using Kind = CacheListing::Kind;
using State = CacheListing::State;

struct WrittenListing {
  std::string entry;
  std::optional<std::int64_t> bytes;
  std::optional<double> ageSeconds;
  std::string state;

  static constexpr std::string_view recordName = "WrittenListing";
  static constexpr auto fields() {
    return std::tuple(
        json::field("entry", &WrittenListing::entry), json::field("bytes", &WrittenListing::bytes),
        json::field("ageSeconds", &WrittenListing::ageSeconds), json::field("state", &WrittenListing::state));
  }
};

struct WrittenTable {
  std::string key;
  std::vector<WrittenListing> rows;

  static constexpr std::string_view recordName = "WrittenTable";
  static constexpr auto fields() {
    return std::tuple(json::field("key", &WrittenTable::key), json::field("rows", &WrittenTable::rows));
  }
};

struct WrittenContents {
  std::string file;
  std::vector<WrittenListing> blobs;
  std::vector<WrittenTable> tables;

  static constexpr std::string_view recordName = "WrittenContents";
  static constexpr auto fields() {
    return std::tuple(json::field("file", &WrittenContents::file),
                      json::field("blobs", &WrittenContents::blobs),
                      json::field("tables", &WrittenContents::tables));
  }
};

struct Verdict {
  bool sound = false;
  std::vector<std::string> findings;

  static constexpr std::string_view recordName = "Verdict";
  static constexpr auto fields() {
    return std::tuple(json::field("sound", &Verdict::sound), json::field("findings", &Verdict::findings));
  }
};

template <class T>
ExitCode printJson(const T& value) {
  const auto json = json::encode(value);
  if (!json) return complain({ExitCode::unexpected, json.error().localizedDescription()});
  return print(std::string(json.value().view()) + "\n") ? ExitCode::answered : ExitCode::unexpected;
}

ExitCode printText(const std::string& text) {
  return print(text) ? ExitCode::answered : ExitCode::unexpected;
}

std::string sizeText(std::optional<std::size_t> bytes) {
  if (!bytes) return "-";
  if (*bytes < 1000) return std::to_string(*bytes) + " B";
  std::ostringstream text;
  text.precision(1);
  const bool large = *bytes >= 1'000'000;
  text << std::fixed << static_cast<double>(*bytes) / (large ? 1e6 : 1e3) << (large ? " MB" : " kB");
  return text.str();
}

/// In whole units, rounded down.
std::string ageText(std::optional<double> seconds) {
  if (!seconds || !std::isfinite(*seconds)) return "-";
  constexpr std::pair<double, const char*> units[] = {{86400, " d"}, {3600, " h"}, {60, " min"}};
  for (const auto& [length, unit] : units) {
    if (std::abs(*seconds) >= length)
      return std::to_string(std::llround(std::trunc(*seconds / length))) + unit;
  }
  return std::to_string(std::llround(std::trunc(*seconds))) + " s";
}

std::string isoText(Date date) {
  const double seconds = std::floor(date.secondsSince1970());
  constexpr double latest = 253402300799;  // the end of the year 9999
  if (!(seconds >= 0 && seconds <= latest)) return std::to_string(date.secondsSince1970());
  const auto time = static_cast<std::time_t>(seconds);
  std::tm parts{};
  ::gmtime_r(&time, &parts);
  char text[32];
  return {text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

/// A blob or row as somebody can read it.
std::string contentText(const CacheListing& listing) {
  if (listing.kind == Kind::blob && listing.data->size() == sizeof(double)) {
    if (const auto time = fetchTime(listing.key, *listing.data)) return isoText(*time);
  }
  return std::string(listing.data->view());
}

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

WrittenListing written(const CacheListing& listing) {
  const auto bytes = listing.bytes ? std::optional(static_cast<std::int64_t>(*listing.bytes)) : std::nullopt;
  return {listing.entry, bytes, listing.ageSeconds, nameOf(listing.state)};
}

ExitCode list(const Arguments& arguments, const SQLiteCacheContents& contents,
              const std::vector<CacheListing>& listings) {
  if (!arguments.json) {
    std::string text = Style(arguments.color).heading(arguments.cacheFile).append("\n");
    if (listings.empty()) text += "The cache is empty.\n";
    return printText(text + tableOf(listings, Kind::blob) + tableOf(listings, Kind::row));
  }
  WrittenContents all{arguments.cacheFile, {}, {}};
  for (const auto& table : contents.tables) all.tables.push_back({table.key, {}});
  for (const auto& listing : listings) {
    if (listing.kind == Kind::blob) {
      all.blobs.push_back(written(listing));
      continue;
    }
    const auto table = std::find_if(all.tables.begin(), all.tables.end(),
                                    [&](const auto& next) { return next.key == listing.tableKey; });
    table->rows.push_back(written(listing));
  }
  return printJson(all);
}

/// Complains of the names that none of `listings` bears.
ExitCode judgeMissing(const std::vector<std::string>& names, const std::vector<CacheListing>& listings) {
  std::string missing;
  for (const auto& name : names) {
    const bool found = std::any_of(listings.begin(), listings.end(),
                                   [&name](const auto& listing) { return listing.entry == name; });
    if (!found) missing.append(missing.empty() ? "" : ", ").append(name.empty() ? "\"\"" : name);
  }
  if (missing.empty()) return ExitCode::answered;
  return complain(
      {ExitCode::someMissing, "not in the cache: " + missing + "; vellora cache ls names what is"});
}

ExitCode show(const Arguments& arguments, const std::vector<CacheListing>& listings) {
  std::map<std::string, std::string> shown;
  std::string text;
  std::vector<CacheListing> readable;
  for (const auto& listing : listings) {
    if (listing.data) readable.push_back(listing);
  }
  for (const auto& name : distinct(arguments.cache.entries)) {
    for (const auto& listing : readable) {
      if (listing.entry != name) continue;
      shown.insert_or_assign(name, printable(contentText(listing)));
      text.append(printable(contentText(listing))).append("\n");
    }
  }
  const ExitCode printed = arguments.json ? printJson(shown) : printText(text);
  return printed != ExitCode::answered ? printed : judgeMissing(arguments.cache.entries, readable);
}

ExitCode verify(const Arguments& arguments, const SQLiteCacheContents& contents,
                const std::vector<CacheListing>& listings) {
  const bool sound = contents.findings.empty();
  std::string text;
  for (const auto& finding : contents.findings) text.append(printable(finding)).append("\n");
  if (sound) text = "sound: " + std::to_string(listings.size()) + " entries\n";
  const ExitCode printed = arguments.json ? printJson(Verdict{sound, contents.findings}) : printText(text);
  if (printed != ExitCode::answered || sound) return printed;
  return complain({ExitCode::cacheUnusable,
                   "the cache file " + arguments.cacheFile +
                       " is damaged in places; damaged entries are fetched again when they are needed, and "
                       "vellora cache purge --expired deletes them"});
}

bool isDoomed(const CacheListing& listing, const CacheArguments& cache) {
  if (cache.all) return true;
  if (cache.expired) {
    return listing.state == State::expired || listing.state == State::outdated ||
           listing.state == State::damaged;
  }
  return std::find(cache.entries.begin(), cache.entries.end(), listing.entry) != cache.entries.end();
}

bool remove(SQLiteCache& cache, const CacheListing& listing) {
  if (listing.kind == Kind::blob) return cache.remove(listing.key);
  const auto table = cache.openTable(listing.tableKey);
  return table && table->purge([&listing](const auto& row) { return row.dataKey == listing.key; });
}

ExitCode purge(const Arguments& arguments, const std::vector<CacheListing>& listings) {
  auto cache = SQLiteCache::open(arguments.cacheFile);
  if (!cache) return complain({ExitCode::cacheUnusable, cache.error().localizedDescription()});
  std::size_t count = 0;
  for (const auto& listing : listings) {
    if (!isDoomed(listing, arguments.cache)) continue;
    if (!remove(*cache.value(), listing)) {
      return complain({ExitCode::cacheUnusable, "cannot delete " + listing.entry + " from " +
                                                    arguments.cacheFile +
                                                    "; is another program writing to it? Try again"});
    }
    ++count;
  }
  const ExitCode printed =
      printText("deleted " + std::to_string(count) + (count == 1 ? " entry\n" : " entries\n"));
  return printed != ExitCode::answered ? printed : judgeMissing(arguments.cache.entries, listings);
}

}  // namespace

ExitCode runCacheCommand(const Arguments& arguments) {
  using Action = CacheArguments::Action;
  if (arguments.cache.action == Action::importFrom) return importFrom(arguments);

  const Date present = now();
  const auto contents = SQLiteCacheContents::read(arguments.cacheFile, present);
  if (!contents) return complain({ExitCode::cacheUnusable, contents.error().localizedDescription()});
  const auto listings = listingsOf(contents.value(), present, arguments.cacheTimeout);
  switch (arguments.cache.action) {
    case Action::list:
      return list(arguments, contents.value(), listings);
    case Action::show:
      return show(arguments, listings);
    case Action::verify:
      return verify(arguments, contents.value(), listings);
    case Action::purge:
      return purge(arguments, listings);
    case Action::exportTo:
      return exportTo(arguments, contents.value());
    case Action::importFrom:
      break;
  }
  return ExitCode::unexpected;
}

}  // namespace vellora::command
