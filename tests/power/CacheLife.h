#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "hostkit/cache/CacheArchive.h"
#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "tests/hostkit/cache/ManualClock.h"
#include "tests/power/Diary.h"
#include "tests/power/DiskRecorder.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Host/Query.h"
#include "vellora/Host/Table.h"

namespace vellora::hostkit::tests {

/// A cache in one file that is opened, changed and closed, and the diary of that. Items whose names begin
/// with "blob" are blobs, the others are rows.
class CacheLife {
 public:
  CacheLife(std::string path, ManualClock clock, Items atFirst = {})
      : path_(std::move(path)), clock_(std::move(clock)), diary_(std::move(atFirst)) {}

  /// The moments of the diary are those of `recorder` from now on.
  void recordWith(const vellora::tests::DiskRecorder& recorder) { recorder_ = &recorder; }

  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] Diary& diary() { return diary_; }

  void moveTo(std::string path) { path_ = std::move(path); }

  [[nodiscard]] Result<std::shared_ptr<SQLiteCache>> tryToOpen(const std::string& owner = "alice") const {
    SQLiteCache::Options options;
    options.clock = clock_.function();
    options.owner = owner;
    return SQLiteCache::open(path_, std::move(options));
  }

  void open() {
    auto opened = tryToOpen();
    ASSERT_TRUE(opened.hasValue()) << opened.error().localizedDescription();
    cache_ = std::move(opened).value();
  }

  /// Closes the cache, which makes all of it durable.
  void close() {
    cache_.reset();
    diary_.confirm(moment());
  }

  void set(const std::string& name, const std::string& text) {
    Items next = diary_.latest();
    next[name] = text;
    diary_.begin(moment(), std::move(next));
    EXPECT_TRUE(isBlob(name) ? cache_->save(Data(text), name)
                             : table()->upsert({Data(text), metaOf(name), std::nullopt}))
        << name;
  }

  void drop(const std::string& name) {
    Items next = diary_.latest();
    next.erase(name);
    diary_.begin(moment(), std::move(next));
    EXPECT_TRUE(isBlob(name) ? cache_->remove(name) : table()->purge(CorvaneSDK::metaEquals(metaOf(name))))
        << name;
  }

  /// Deletes every row, as forgetting does.
  void dropRows() {
    Items next = diary_.latest();
    std::erase_if(next, [](const auto& item) { return !isBlob(item.first); });
    diary_.begin(moment(), std::move(next));
    EXPECT_TRUE(table()->purge(CorvaneSDK::metaEquals({})));
  }

  /// Lets time go by, after which `name` is too old to be found.
  void growOld(const std::string& name, double seconds) {
    clock_.advance(seconds);
    Items next = diary_.latest();
    next.erase(name);
    diary_.begin(moment(), std::move(next));
  }

  /// Each entry of it is a write of its own: rows first.
  void restore(const Items& items) {
    CacheArchive archive;
    archive.tables.push_back({tableKey, {}});
    Items next = diary_.latest();
    for (const auto& [name, text] : items) {
      if (!isBlob(name)) archive.tables[0].rows.push_back({metaOf(name), std::nullopt, Data(text)});
      if (isBlob(name)) archive.blobs.push_back({name, Data(text)});
    }
    for (const bool areBlobs : {false, true}) {
      for (const auto& [name, text] : items) {
        if (isBlob(name) != areBlobs) continue;
        next[name] = text;
        diary_.begin(moment(), next);
      }
    }
    EXPECT_TRUE(archive.restore(*cache_));
  }

  void destroy() {
    diary_.begin(moment(), {});
    const auto failure = SQLiteCache::destroy(path_);
    EXPECT_FALSE(failure);
    diary_.confirm(moment());
    diary_.noteDestroyed(moment());
  }

  /// The damage is met by now at the latest, and nothing is left.
  void meetDamage() {
    diary_.begin(moment(), {});
    if (!cache_) open();
    static_cast<void>(contents());  // meets it, if opening has not
    EXPECT_EQ(contents(), Items());
  }

  /// All that can be found in the open cache.
  [[nodiscard]] Items contents() {
    Items found;
    for (const char* name : names) {
      if (const auto text = isBlob(name) ? cache_->load(name) : row(name)) found[name] = text->view();
    }
    return found;
  }

  [[nodiscard]] std::size_t moment() const {
    return recorder_ != nullptr ? recorder_->journal().length() : 0;
  }

 private:
  static constexpr const char* names[] = {
      "blob kept", "blob replaced", "blob dropped", "blob added", "blob after",
      "kept",      "replaced",      "dropped",      "added",      "old"};
  static constexpr const char* tableKey = "Rows";

  static bool isBlob(const std::string& name) { return name.starts_with("blob"); }
  static CorvaneSDK::Meta metaOf(const std::string& name) { return {{"kind", "item"}, {"name", name}}; }

  [[nodiscard]] std::shared_ptr<CorvaneSDK::CacheTable> table() {
    using CorvaneSDK::Table;
    return cache_->createTable(Table::emptyWithKey(tableKey, Table::MaxAge::sevenDays));
  }

  [[nodiscard]] std::optional<Data> row(const std::string& name) {
    const auto rows = table()->load(CorvaneSDK::Query::exact(CorvaneSDK::metaEquals(metaOf(name))));
    EXPECT_LE(rows.size(), 1U) << name;
    return rows.empty() ? std::nullopt : std::optional(rows.front());
  }

  std::string path_;
  ManualClock clock_;
  Diary diary_;
  const vellora::tests::DiskRecorder* recorder_ = nullptr;
  std::shared_ptr<SQLiteCache> cache_;
};

}  // namespace vellora::hostkit::tests
