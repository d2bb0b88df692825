#include "apps/vellora/cache/EveryFile.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <variant>
#include <vector>

#include "apps/vellora/cache/CacheListing.h"
#include "apps/vellora/cache/EntryText.h"
#include "apps/vellora/cache/KeptFiles.h"
#include "apps/vellora/cache/ListCommand.h"
#include "apps/vellora/cache/Purge.h"
#include "apps/vellora/command/DefaultCacheFile.h"
#include "apps/vellora/command/Document.h"
#include "apps/vellora/command/Errand.h"
#include "apps/vellora/command/Output.h"
#include "apps/vellora/command/TextTable.h"
#include "hostkit/cache/sqlite/SQLiteCacheContents.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::command {

namespace {

/// How many entries of a file were deleted.
struct PurgedFile {
  std::string file;
  std::int64_t deleted = 0;

  static constexpr auto fields() {
    return std::tuple(json::field("file", &PurgedFile::file), json::field("deleted", &PurgedFile::deleted));
  }
};

/// What is in a file; no value, after a complaint, when it cannot be read.
std::optional<ListedFile> read(const std::string& file, const Arguments& arguments) {
  const Date present = now();
  auto contents = [&] {
    const Errand reading(arguments, "reading " + file);
    return hostkit::SQLiteCacheContents::read(file, present);
  }();
  if (!contents) {
    complain({ExitCode::cacheUnusable, contents.error().localizedDescription()});
    return std::nullopt;
  }
  auto listings = listingsOf(contents.value(), present, arguments.cacheTimeout);
  return ListedFile{file, std::move(contents).value(), std::move(listings)};
}

ExitCode print(const std::vector<PurgedFile>& purged, const Arguments& arguments) {
  if (arguments.printsDocument()) return printJson(encode(purged));
  std::string text;
  for (const auto& [file, count] : purged)
    text += printable(file) + ": " + deletedText(static_cast<std::size_t>(count)) + "\n";
  return printText(text);
}

/// Deletes the entries of the files, and prints how many; false when one of the files cannot be changed.
bool purge(const std::vector<ListedFile>& files, const Arguments& arguments, ExitCode& printed) {
  std::vector<PurgedFile> purged;
  bool isWhole = true;
  for (const auto& listed : files) {
    const auto deleted = [&] {
      const Errand deleting(arguments, "deleting from " + listed.file);
      return purgeEntries(listed.file, doomed(listed.listings, arguments.cache));
    }();
    if (const auto* problem = std::get_if<Problem>(&deleted)) {
      complain(*problem);
      isWhole = false;
    } else {
      purged.push_back({asText(listed.file), static_cast<std::int64_t>(std::get<std::size_t>(deleted))});
    }
  }
  printed = print(purged, arguments);
  return isWhole;
}

}  // namespace

ExitCode runOnEveryFile(const Arguments& arguments) {
  const auto folder = defaultCacheFolder();
  if (!folder) return complain(noCacheFolder());
  std::vector<ListedFile> files;
  const auto kept = keptFiles(*folder);
  for (const auto& file : kept) {
    if (auto listed = read(file, arguments)) files.push_back(std::move(*listed));
  }
  bool isWhole = files.size() == kept.size();
  ExitCode printed = ExitCode::answered;
  if (arguments.cache.action == CacheArguments::Action::list) {
    printed = listEntries(arguments, files);
  } else {
    isWhole = purge(files, arguments, printed) && isWhole;
  }
  if (kept.empty()) complain({ExitCode::answered, "no cache file is kept in " + *folder});
  return printed != ExitCode::answered || isWhole ? printed : ExitCode::cacheUnusable;
}

}  // namespace vellora::command
