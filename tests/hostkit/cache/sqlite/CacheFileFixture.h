#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>

#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "hostkit/cache/sqlite/SQLiteCacheError.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/TemporaryFolder.h"

namespace vellora::hostkit::tests {

/// The file of a cache in a folder of its own, and what opening it comes to.
class CacheFileFixture : public testing::Test {
 protected:
  using Reason = SQLiteCacheError::Reason;

  /// A closed cache file that holds the blob "1" under "a".
  void makeCache() const { ASSERT_TRUE(open()->save(Data(std::string("1")), "a")); }

  [[nodiscard]] Result<std::shared_ptr<SQLiteCache>> tryToOpen(const std::string& where) const {
    SQLiteCache::Options options;
    options.busyTimeout = std::chrono::milliseconds(1);
    return SQLiteCache::open(where, options);
  }
  [[nodiscard]] std::shared_ptr<SQLiteCache> open() const { return tryToOpen(path).value(); }

  /// Why `where` is refused, and that the refusal changed nothing in the folder.
  [[nodiscard]] SQLiteCacheError refusal(const std::string& where) const {
    const auto names = fileNames(folder.path());
    const std::string bytes = std::filesystem::is_regular_file(where) ? fileBytes(where) : "";
    const auto opened = tryToOpen(where);
    EXPECT_FALSE(opened.hasValue());
    if (opened.hasValue()) return {};
    EXPECT_EQ(fileNames(folder.path()), names);
    if (std::filesystem::is_regular_file(where)) {
      EXPECT_TRUE(fileBytes(where) == bytes);
    }
    const auto* error = opened.error().as<SQLiteCacheError>();
    EXPECT_NE(error, nullptr);
    return error != nullptr ? *error : SQLiteCacheError();
  }

  /// The cache file and its log as a crash right after `sql` leaves them, under another name.
  [[nodiscard]] std::string crashedCopyAfter(const std::string& sql) const {
    const std::string copy = folder.file("crashed.db");
    RawDatabase writer(path);
    writer.run(sql);
    for (const char* const suffix : {"", "-wal"}) std::filesystem::copy_file(path + suffix, copy + suffix);
    return copy;
  }

  void patch(std::size_t offset, const std::string& bytes) const {
    std::string all = fileBytes(path);
    all.replace(offset, bytes.size(), bytes);
    writeFile(path, all);
  }

  vellora::tests::TemporaryFolder folder;
  const std::string path = folder.file("cache.db");
};

}  // namespace vellora::hostkit::tests
