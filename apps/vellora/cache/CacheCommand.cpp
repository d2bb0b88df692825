#include "apps/vellora/cache/CacheCommand.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <map>
#include <string>
#include <tuple>
#include <variant>
#include <vector>

#include "apps/vellora/cache/CacheListing.h"
#include "apps/vellora/cache/CacheTarget.h"
#include "apps/vellora/cache/CacheTransfer.h"
#include "apps/vellora/cache/EntryName.h"
#include "apps/vellora/cache/EntryText.h"
#include "apps/vellora/cache/EveryFile.h"
#include "apps/vellora/cache/ListCommand.h"
#include "apps/vellora/cache/Purge.h"
#include "apps/vellora/command/CachePlace.h"
#include "apps/vellora/command/Document.h"
#include "apps/vellora/command/Errand.h"
#include "apps/vellora/command/NearestName.h"
#include "apps/vellora/command/Output.h"
#include "apps/vellora/command/TextTable.h"
#include "hostkit/cache/sqlite/SQLiteCacheContents.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::command {

namespace {

using hostkit::SQLiteCacheContents;

struct Soundness {
  bool sound = false;
  std::vector<std::string> findings;

  static constexpr auto fields() {
    return std::tuple(json::field("sound", &Soundness::sound), json::field("findings", &Soundness::findings));
  }
};

struct Purged {
  std::int64_t deleted = 0;
  std::vector<std::string> entries;

  static constexpr auto fields() {
    return std::tuple(json::field("deleted", &Purged::deleted), json::field("entries", &Purged::entries));
  }
};

struct DeletedFile {
  std::string deleted;

  static constexpr auto fields() { return std::tuple(json::field("deleted", &DeletedFile::deleted)); }
};

/// Which of the entries was probably meant, as a question behind a complaint.
std::string meantBy(const std::string& name, const std::vector<CacheListing>& listings) {
  std::vector<std::string> names;
  names.reserve(listings.size());
  for (const auto& listing : listings) names.push_back(shortName(listing.entry));
  const auto near = nearestName(name, names);
  return near ? "; did you mean " + keyText(*near) + "?" : "; vellora cache ls names what is";
}

/// Complains of the names that none of `listings` bears.
ExitCode judgeMissing(const std::vector<std::string>& names, const std::vector<CacheListing>& listings) {
  std::string missing;
  std::string first;
  for (const auto& name : names) {
    if (!entriesNamed(name, listings).empty()) continue;
    if (first.empty()) first = name;
    missing.append(missing.empty() ? "" : ", ").append(keyText(name));
  }
  if (missing.empty()) return ExitCode::answered;
  return complain({ExitCode::someMissing, "not in the cache: " + missing + meantBy(first, listings)});
}

ExitCode show(const Arguments& arguments, const std::vector<CacheListing>& listings) {
  std::map<std::string, EmbeddedJson> shown;
  std::string text;
  std::vector<CacheListing> readable;
  std::copy_if(listings.begin(), listings.end(), std::back_inserter(readable),
               [](const auto& listing) { return listing.data.has_value(); });
  for (const auto& name : distinct(arguments.cache.entries)) {
    for (const auto& listing : entriesNamed(name, readable)) {
      shown.insert_or_assign(asText(name), contentJson(listing));
      text.append(printable(contentText(listing))).append("\n");
    }
  }
  const ExitCode printed = arguments.printsDocument() ? printJson(encode(shown)) : printText(text);
  return printed != ExitCode::answered ? printed : judgeMissing(arguments.cache.entries, readable);
}

ExitCode verify(const Arguments& arguments, const CacheTarget& target, const SQLiteCacheContents& contents,
                const std::vector<CacheListing>& listings) {
  const bool sound = contents.findings.empty();
  std::string text;
  std::vector<std::string> findings;
  for (const auto& finding : contents.findings) {
    findings.push_back(asText(finding));
    text.append(printable(finding)).append("\n");
  }
  if (sound) text = "sound: " + std::to_string(listings.size()) + " entries\n";
  const ExitCode printed =
      arguments.printsDocument() ? printJson(encode(Soundness{sound, findings})) : printText(text);
  if (printed != ExitCode::answered || sound) return printed;
  return complain({ExitCode::cacheUnusable,
                   target.name() +
                       " is damaged in places; damaged entries are fetched again when they are needed, and "
                       "vellora cache purge --expired deletes them"});
}

ExitCode purge(const Arguments& arguments, const CacheTarget& target,
               const std::vector<CacheListing>& listings) {
  const auto entries = doomed(listings, arguments.cache);
  const auto deleted = [&] {
    const Errand deleting(arguments, "deleting from " + arguments.cacheFile);
    return purgeEntries(target, arguments.cacheFile, entries);
  }();
  if (const auto* problem = std::get_if<Problem>(&deleted)) return complain(*problem);
  Purged purged{static_cast<std::int64_t>(entries.size()), {}};
  for (const auto& entry : entries) purged.entries.push_back(entry.entry);
  const ExitCode printed =
      arguments.printsDocument() ? printJson(encode(purged)) : printText(deletedText(entries.size()) + "\n");
  return printed != ExitCode::answered ? printed : judgeMissing(arguments.cache.entries, listings);
}

/// Everything but importing, which begins without a cache, and deleting, which reads none.
ExitCode runOn(const CacheTarget& target, const SQLiteCacheContents& contents, Date present,
               const Arguments& arguments) {
  using Action = CacheArguments::Action;
  const auto listings = listingsOf(contents, present, arguments.cacheTimeout);
  switch (arguments.cache.action) {
    case Action::list:
      return listEntries(arguments, ListedFile{arguments.cacheFile, contents, listings});
    case Action::show:
      return show(arguments, listings);
    case Action::verify:
      return verify(arguments, target, contents, listings);
    case Action::purge:
      return purge(arguments, target, listings);
    case Action::exportTo:
      return exportTo(arguments, contents);
    case Action::deleteFile:
    case Action::importFrom:
      break;
  }
  return ExitCode::unexpected;
}

ExitCode deleteFile(const Arguments& arguments, const CacheTarget& target) {
  const auto problem = [&] {
    const Errand deleting(arguments, "deleting " + arguments.cacheFile);
    return target.destroy();
  }();
  if (problem) return complain(*problem);
  if (arguments.printsDocument()) return printJson(encode(DeletedFile{asText(arguments.cacheFile)}));
  return printText("deleted " + printable(arguments.cacheFile) + "\n");
}

ExitCode run(const Arguments& arguments, const CacheTarget& target) {
  if (arguments.cache.action == CacheArguments::Action::importFrom) return importFrom(arguments, target);
  if (arguments.cache.action == CacheArguments::Action::deleteFile) return deleteFile(arguments, target);
  const Date present = now();
  const auto contents = [&] {
    const Errand reading(arguments, "reading " + arguments.cacheFile);
    return target.read(present);
  }();
  if (const auto* problem = std::get_if<Problem>(&contents)) return complain(*problem);
  return runOn(target, std::get<0>(contents), present, arguments);
}

}  // namespace

ExitCode runCacheCommand(const Arguments& arguments) {
  if (arguments.cache.everyFile) return runOnEveryFile(arguments);
  const auto place = cachePlace(arguments);
  if (const auto* problem = std::get_if<Problem>(&place)) return complain(*problem);
  Arguments placed = arguments;
  placed.cacheFile = std::get<0>(place).file;
  const auto target = cacheTarget(placed, std::get<0>(place).owner);
  if (const auto* problem = std::get_if<Problem>(&target)) return complain(*problem);
  return run(placed, *std::get<0>(target));
}

}  // namespace vellora::command
