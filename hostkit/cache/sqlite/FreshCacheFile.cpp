#include "hostkit/cache/sqlite/FreshCacheFile.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <fstream>
#include <string_view>

#include "hostkit/cache/sqlite/CachePath.h"
#include "hostkit/cache/sqlite/FileNaming.h"
#include "hostkit/cache/sqlite/SQLiteCacheError.h"
#include "hostkit/cache/sqlite/SQLiteDatabase.h"
#include "hostkit/cache/sqlite/SQLiteFileMarks.h"
#include "hostkit/cache/sqlite/SQLiteFileSet.h"
#include "hostkit/cache/sqlite/SQLiteResultCodes.h"
#include "hostkit/cache/sqlite/SQLiteSchema.h"

namespace vellora::hostkit {

namespace {

using Milliseconds = std::chrono::milliseconds;
using Reason = SQLiteCacheError::Reason;

/// Whether the file is one page with nothing in it but the beginning of SQLite's header, as a loss of power
/// leaves the page that is written first. It ends before our mark in the header, and so does no database.
bool isTornHeader(const std::string& path) {
  std::string bytes(sqliteSchema::pageSize + 1, '\0');
  std::ifstream file(path, std::ios::binary);
  file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (file.gcount() != static_cast<std::streamsize>(sqliteSchema::pageSize)) return false;
  const std::string_view header = std::string_view(bytes).substr(0, bytes.find_last_not_of('\0') + 1);
  const bool isMagic = header.starts_with(sqliteSchema::magic) || sqliteSchema::magic.starts_with(header);
  return isMagic && header.size() < sqliteSchema::applicationIdOffset + sizeof sqliteSchema::applicationId;
}

/// Clears away what a process that was killed, or a loss of power, left at `made`; false when something
/// stands there that never was a file of ours.
bool removeUnfinished(const std::string& made) {
  const std::string log = made + "-wal";
  switch (kindOfFile(made)) {
    case SQLiteFileKind::absent:
      // The log is never written to. It stays alone where a loss of power took the file and left the log.
      if (kindOfFile(log) == SQLiteFileKind::empty) unlink(log.c_str());
      return !nameIsTaken(made) && !sqliteFileSet::hasCompanions(made);
    case SQLiteFileKind::empty:
    case SQLiteFileKind::ours:
    case SQLiteFileKind::damaged:
      sqliteFileSet::remove(made);
      return true;
    case SQLiteFileKind::foreign:
      if (!isTornHeader(made)) return false;
      sqliteFileSet::remove(made);
      return true;
    case SQLiteFileKind::newer:
    case SQLiteFileKind::unreadable:
      break;
  }
  return false;
}

/// Creates the file `made` without bytes, for its owner alone; 0, or the `errno` of what went wrong.
int createEmpty(const std::string& made) {
  const int descriptor = open(made.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (descriptor < 0) return errno;
  close(descriptor);
  return 0;
}

/// Writes an empty cache to `path`, which is an empty file; SQLite's result code.
int writeSchema(const std::string& path, Milliseconds busyTimeout) {
  const auto [database, code] = SQLiteDatabase::open(path, busyTimeout);
  if (database == nullptr) return code;
  database->run(
      "PRAGMA locking_mode = EXCLUSIVE");  // needs no index of the log, which a loss of power could leave
  sqliteSchema::create(*database);
  return database->failure();
}

/// Puts the complete file `made` where `path` is; it may keep its first name, too. Does not replace anything
/// but a file without bytes.
int putInPlace(const std::string& made, const std::string& path) {
  const int number = nameFile(made, path);
  if (number != EEXIST || kindOfFile(path) != SQLiteFileKind::empty) return number;
  return std::rename(made.c_str(), path.c_str()) == 0 ? 0 : errno;
}

}  // namespace

std::optional<Error> createFreshCacheFile(const std::string& path, Milliseconds busyTimeout) {
  // The folder's lock is held, so nobody else in the folder is making a file. One name does for all of them,
  // is never too long, and can be no cache's own, since no file is ever put in place there.
  const std::string made = cachePath::folderOf(path) + "/.vellora-making";
  if (cachePath::isOfAnotherUser(made)) {
    return SQLiteCacheError{Reason::unwritable, path,
                            "\"" + made + "\" is in the way and belongs to another user"};
  }
  if (!removeUnfinished(made)) {
    return SQLiteCacheError{Reason::unwritable, path, "\"" + made + "\" is in the way, move it away"};
  }
  if (const int number = createEmpty(made)) return errorForErrno(path, number);
  const int code = writeSchema(made, busyTimeout);
  const int number = code == SQLITE_OK ? putInPlace(made, path) : 0;
  sqliteFileSet::remove(made);
  if (code != SQLITE_OK) return errorForCode(path, code);
  if (number != 0) return errorForErrno(path, number);
  return std::nullopt;
}

}  // namespace vellora::hostkit
