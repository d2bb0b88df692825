#include "tests/hostkit/cache/StoredForms.h"

#include <fstream>
#include <iterator>
#include <utility>

#include "hostkit/bodies/KeptBody.h"
#include "hostkit/cache/CacheArchive.h"
#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "hostkit/cache/sqlite/SQLiteCacheContents.h"
#include "tests/hostkit/cache/ManualClock.h"
#include "tests/hostkit/cache/SampleArchive.h"
#include "tests/support/TemporaryFolder.h"
#include "vellora/DataServices/FetchTime.h"
#include "vellora/Platform/Values/Data.h"

namespace vellora::hostkit::tests::storedForms {

namespace {

constexpr auto owner = "somebody at https://records.example";
constexpr auto request = "GET /themes";
constexpr double moment = 1'700'000'000.5;

Data archive() {
  return sampleArchive().encode().value();
}

Data body() {
  return storedForm(
      {.headers = {{"content-type", "application/json"}, {"etag", "\"ä\""}}, .body = Data(noText)}, request);
}

/// The files but the cache, whose bytes are up to SQLite.
std::vector<std::pair<std::string, Data>> plainFiles() {
  return {{"archive.json", archive()}, {"body", body()}, {"time-stamp", fetchTimeStamp(moment)}};
}

bool writeCache(const std::filesystem::path& file) {
  const auto cache = SQLiteCache::open(file, {.clock = ManualClock().function(), .owner = owner});
  return cache && sampleArchive().restore(*cache.value());
}

/// Reads a copy, since who opens a cache may change it.
std::vector<std::string> differencesInCache(const std::filesystem::path& file) {
  const vellora::tests::TemporaryFolder own;
  const std::string copy = own.file("theirs");
  std::filesystem::copy_file(file, copy);
  if (const auto opened = SQLiteCache::open(copy, {.owner = owner}); !opened)
    return {"cache: " + opened.error().localizedDescription()};
  if (SQLiteCache::open(copy, {.owner = "somebody else"})) return {"cache: it is anybody's"};
  if (!writeCache(own.file("ours"))) return {"cache: none can be written to compare it with"};

  const Date present = ManualClock().function()();
  const auto theirs = SQLiteCacheContents::read(copy, present);
  const auto ours = SQLiteCacheContents::read(own.file("ours"), present);
  if (!theirs || !ours) return {"cache: it cannot be read"};
  std::vector<std::string> differences;
  for (const auto& finding : theirs.value().findings) differences.push_back("cache: " + finding);
  if (CacheArchive::of(theirs.value()) != CacheArchive::of(ours.value()))
    differences.emplace_back("cache: its entries differ");
  return differences;
}

std::string bytesOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

std::vector<std::string> write(const std::filesystem::path& folder) {
  std::vector<std::string> failed;
  for (const auto& [name, data] : plainFiles()) {
    std::ofstream file(folder / name, std::ios::binary);
    file << data.view();
    if (!file.flush()) failed.push_back(name);
  }
  if (!writeCache(folder / "cache")) failed.emplace_back("cache");
  return failed;
}

std::vector<std::string> differencesIn(const std::filesystem::path& folder) {
  std::vector<std::string> differences = differencesInCache(folder / "cache");
  for (const auto& [name, data] : plainFiles())
    if (bytesOf(folder / name) != data.view()) differences.push_back(name + ": its bytes differ");
  return differences;
}

}  // namespace vellora::hostkit::tests::storedForms
