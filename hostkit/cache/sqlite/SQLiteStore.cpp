#include "hostkit/cache/sqlite/SQLiteStore.h"

#include <utility>

#include "hostkit/cache/sqlite/SQLiteCacheFile.h"
#include "hostkit/cache/sqlite/SQLiteResultCodes.h"

namespace vellora::hostkit {

SQLiteStore::SQLiteStore(std::shared_ptr<SQLiteDatabase> database, std::string path,
                         std::chrono::milliseconds busyTimeout, std::function<Date()> clock)
    : path_(std::move(path)),
      busyTimeout_(busyTimeout),
      clock_(std::move(clock)),
      database_(std::move(database)) {}

bool SQLiteStore::perform(const std::function<void(SQLiteDatabase&)>& operation) {
  const std::lock_guard lock(mutex_);
  for (int round = 0; round < 2; ++round) {
    if (!database_) openAgain();
    if (!database_) return false;
    database_->clearFailure();
    operation(*database_);
    if (!database_->failed()) return true;
    if (!meansDamage(database_->failure())) return false;
    replaceDamagedFile();
  }
  return false;
}

void SQLiteStore::replaceDamagedFile() {
  auto replaced = sqliteCacheFile::replace(std::move(database_), path_, busyTimeout_);
  database_ = replaced ? std::move(replaced).value() : nullptr;
}

void SQLiteStore::openAgain() {
  auto opened = sqliteCacheFile::open(path_, busyTimeout_);
  if (opened) database_ = std::move(opened).value();
}

}  // namespace vellora::hostkit
