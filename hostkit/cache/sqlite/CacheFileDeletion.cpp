#include "hostkit/cache/sqlite/CacheFileDeletion.h"

#include <sys/stat.h>

#include <cerrno>
#include <memory>
#include <utility>

#include "hostkit/cache/sqlite/CachePath.h"
#include "hostkit/cache/sqlite/FolderLock.h"
#include "hostkit/cache/sqlite/SQLiteCacheError.h"
#include "hostkit/cache/sqlite/SQLiteDatabase.h"
#include "hostkit/cache/sqlite/SQLiteFileMarks.h"
#include "hostkit/cache/sqlite/SQLiteFileSet.h"
#include "hostkit/cache/sqlite/SQLiteResultCodes.h"

namespace vellora::hostkit {

namespace {

using Reason = SQLiteCacheError::Reason;
using Connection = std::unique_ptr<SQLiteDatabase>;

/// The only connection to the file; null for a file that is damaged.
Result<Connection> lockedAlone(const std::string& path, std::chrono::milliseconds busyTimeout) {
  auto [database, code] = SQLiteDatabase::open(path, busyTimeout);
  if (database) {
    // In this order: the lock that turning the log off needs is then kept.
    database->run("PRAGMA locking_mode = EXCLUSIVE");
    database->run("PRAGMA journal_mode = DELETE");
    database->run("BEGIN EXCLUSIVE");
    code = database->failure();
  }
  if (meansDamage(code)) return Connection();
  if (code != 0) return errorForCode(path, code);
  return std::move(database);
}

/// What keeps the files of `path` from being deleted while it lives; null where nothing is needed.
Result<Connection> hold(const std::string& path, std::chrono::milliseconds busyTimeout) {
  switch (kindOfFile(path)) {
    case SQLiteFileKind::ours:
      return lockedAlone(path, busyTimeout);
    case SQLiteFileKind::foreign:
      return Error(SQLiteCacheError{Reason::foreignFile, path, ""});
    case SQLiteFileKind::newer:
      return Error(SQLiteCacheError{Reason::newerVersion, path, ""});
    case SQLiteFileKind::unreadable:
      return errorForErrno(path, errno);
    case SQLiteFileKind::absent:
    case SQLiteFileKind::empty:
    case SQLiteFileKind::damaged:
      break;
  }
  return Connection();
}

bool isAbsent(const std::string& folder) {
  struct stat status {};
  return stat(folder.c_str(), &status) != 0 && errno == ENOENT;
}

}  // namespace

std::optional<Error> deleteCacheFile(const std::string& path, std::chrono::milliseconds busyTimeout) {
  const std::string folder = cachePath::folderOf(path);
  if (isAbsent(folder)) return std::nullopt;
  const FolderLock lock(folder);
  if (!lock.held()) return lock.error(path);
  const auto held = hold(path, busyTimeout);
  if (!held) return held.error();
  if (const int number = sqliteFileSet::removeAll(path)) return errorForErrno(path, number);
  return std::nullopt;
}

}  // namespace vellora::hostkit
