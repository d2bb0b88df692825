#include "apps/vellora/cache/CacheCommand.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <map>
#include <string>
#include <tuple>
#include <variant>
#include <vector>

#include "apps/vellora/cache/CacheListing.h"
#include "apps/vellora/cache/CacheTransfer.h"
#include "apps/vellora/cache/EntryText.h"
#include "apps/vellora/cache/ListCommand.h"
#include "apps/vellora/command/CachePlace.h"
#include "apps/vellora/command/Document.h"
#include "apps/vellora/command/Output.h"
#include "apps/vellora/command/TextTable.h"
#include "apps/vellora/command/TokenFile.h"
#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "hostkit/cache/sqlite/SQLiteCacheContents.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::command {

namespace {

using hostkit::SQLiteCache;
using hostkit::SQLiteCacheContents;
using State = CacheListing::State;

struct Verdict {
  bool sound = false;
  std::vector<std::string> findings;

  static constexpr auto fields() {
    return std::tuple(json::field("sound", &Verdict::sound), json::field("findings", &Verdict::findings));
  }
};

/// Complains of the names that none of `listings` bears.
ExitCode judgeMissing(const std::vector<std::string>& names, const std::vector<CacheListing>& listings) {
  std::string missing;
  for (const auto& name : names) {
    const bool found = std::any_of(listings.begin(), listings.end(),
                                   [&name](const auto& listing) { return listing.entry == name; });
    if (!found) missing.append(missing.empty() ? "" : ", ").append(keyText(name));
  }
  if (missing.empty()) return ExitCode::answered;
  return complain(
      {ExitCode::someMissing, "not in the cache: " + missing + "; vellora cache ls names what is"});
}

ExitCode show(const Arguments& arguments, const std::vector<CacheListing>& listings) {
  std::map<std::string, std::string> shown;
  std::string text;
  std::vector<CacheListing> readable;
  std::copy_if(listings.begin(), listings.end(), std::back_inserter(readable),
               [](const auto& listing) { return listing.data.has_value(); });
  for (const auto& name : distinct(arguments.cache.entries)) {
    for (const auto& listing : readable) {
      if (listing.entry != name) continue;
      shown.insert_or_assign(asText(name), printable(contentText(listing)));
      text.append(printable(contentText(listing))).append("\n");
    }
  }
  const ExitCode printed = arguments.json ? printJson(json::encode(shown)) : printText(text);
  return printed != ExitCode::answered ? printed : judgeMissing(arguments.cache.entries, readable);
}

ExitCode verify(const Arguments& arguments, const SQLiteCacheContents& contents,
                const std::vector<CacheListing>& listings) {
  const bool sound = contents.findings.empty();
  std::string text;
  std::vector<std::string> findings;
  for (const auto& finding : contents.findings) {
    findings.push_back(asText(finding));
    text.append(printable(finding)).append("\n");
  }
  if (sound) text = "sound: " + std::to_string(listings.size()) + " entries\n";
  const ExitCode printed = arguments.json ? printJson(encode(Verdict{sound, findings})) : printText(text);
  if (printed != ExitCode::answered || sound) return printed;
  return complain({ExitCode::cacheUnusable,
                   "the cache file " + arguments.cacheFile +
                       " is damaged in places; damaged entries are fetched again when they are needed, and "
                       "vellora cache purge --expired deletes them"});
}

/// Whether `purge` was told to delete the entry.
bool isDoomed(const CacheListing& listing, const CacheArguments& cache) {
  if (cache.all) return true;
  if (cache.expired) {
    return listing.state == State::expired || listing.state == State::outdated ||
           listing.state == State::damaged;
  }
  return std::find(cache.entries.begin(), cache.entries.end(), listing.entry) != cache.entries.end();
}

bool remove(SQLiteCache& cache, const CacheListing& listing) {
  if (listing.kind == CacheListing::Kind::blob) return cache.remove(listing.key);
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

/// Everything but importing, which begins without a cache, and deleting, which reads none.
ExitCode runOn(const SQLiteCacheContents& contents, Date present, const Arguments& arguments) {
  using Action = CacheArguments::Action;
  const auto listings = listingsOf(contents, present, arguments.cacheTimeout);
  switch (arguments.cache.action) {
    case Action::list:
      return listEntries(arguments, contents, listings);
    case Action::show:
      return show(arguments, listings);
    case Action::verify:
      return verify(arguments, contents, listings);
    case Action::purge:
      return purge(arguments, listings);
    case Action::exportTo:
      return exportTo(arguments, contents);
    case Action::deleteFile:
    case Action::importFrom:
      break;
  }
  return ExitCode::unexpected;
}

ExitCode deleteFile(const Arguments& arguments) {
  if (const auto error = SQLiteCache::destroy(arguments.cacheFile)) return complain(problemOf(*error));
  return printText("deleted " + printable(arguments.cacheFile) + "\n");
}

ExitCode run(const Arguments& arguments) {
  if (arguments.cache.action == CacheArguments::Action::importFrom) return importFrom(arguments);
  if (arguments.cache.action == CacheArguments::Action::deleteFile) return deleteFile(arguments);
  const Date present = now();
  const auto contents = SQLiteCacheContents::read(arguments.cacheFile, present);
  if (!contents) return complain({ExitCode::cacheUnusable, contents.error().localizedDescription()});
  return runOn(contents.value(), present, arguments);
}

}  // namespace

ExitCode runCacheCommand(const Arguments& arguments) {
  const auto token = readToken(arguments.tokenFile);
  if (const auto* problem = std::get_if<Problem>(&token)) return complain(*problem);
  const auto place = cachePlace(arguments, std::get<0>(token));
  if (const auto* problem = std::get_if<Problem>(&place)) return complain(*problem);
  Arguments placed = arguments;
  placed.cacheFile = std::get<0>(place).file;
  return run(placed);
}

}  // namespace vellora::command
