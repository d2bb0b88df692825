#include "hostkit/cache/sqlite/SQLiteCacheFile.h"

#include <sys/stat.h>

#include <cerrno>
#include <optional>
#include <utility>

#include "hostkit/cache/sqlite/CachePath.h"
#include "hostkit/cache/sqlite/FileNaming.h"
#include "hostkit/cache/sqlite/FolderLock.h"
#include "hostkit/cache/sqlite/FreshCacheFile.h"
#include "hostkit/cache/sqlite/SQLiteCacheError.h"
#include "hostkit/cache/sqlite/SQLiteFileMarks.h"
#include "hostkit/cache/sqlite/SQLiteFileSet.h"
#include "hostkit/cache/sqlite/SQLiteResultCodes.h"
#include "hostkit/cache/sqlite/SQLiteSchema.h"

namespace vellora::hostkit::sqliteCacheFile {

namespace {

using Milliseconds = std::chrono::milliseconds;
using Connection = std::shared_ptr<SQLiteDatabase>;
using Reason = SQLiteCacheError::Reason;

/// What came of an attempt to open the file.
enum class Outcome {
  opened,   ///< there is a connection
  refused,  ///< there is an error
  unusable  ///< nothing there can be used: the file must be made anew
};

struct Attempt {
  Outcome outcome = Outcome::unusable;
  Connection connection = nullptr;            // when it was opened
  std::optional<Error> error = std::nullopt;  // when it was refused
};

Attempt opened(Connection connection) {
  return {.outcome = Outcome::opened, .connection = std::move(connection)};
}

Attempt refused(Error error) {
  return {.outcome = Outcome::refused, .error = std::move(error)};
}

Attempt refused(const std::string& path, Reason reason, const std::string& detail = "") {
  return refused(SQLiteCacheError{reason, path, detail});
}

Attempt unusable() {
  return {.outcome = Outcome::unusable};
}

Attempt openExisting(const std::string& path, Milliseconds busyTimeout) {
  using sqliteSchema::State;
  auto [database, code] = SQLiteDatabase::open(path, busyTimeout);
  if (database == nullptr) return meansDamage(code) ? unusable() : refused(errorForCode(path, code));
  const State state = sqliteSchema::check(*database);
  if (state == State::sound) {
    chmod(path.c_str(), 0600);  // by name: see kindOfFile
    sqliteSchema::restoreLog(*database);
    return opened(std::move(database));
  }
  database->leaveUntouchedOnClose();
  if (state == State::newer) return refused(path, Reason::newerVersion);
  if (state == State::unreadable) return refused(errorForCode(path, database->failure()));
  return unusable();
}

/// What is there but may not be used, whatever is in it; absent where that may be looked at.
std::optional<Attempt> refusalUnseen(const std::string& path) {
  struct stat status {};
  const int number = stat(path.c_str(), &status) == 0 ? 0 : errno;
  if (number == EACCES) return refused(cachePath::folderError(path, number));
  if (number == ENOENT && nameIsTaken(path))
    return refused(path, Reason::unwritable, "it is a link that leads nowhere");
  if (const auto others = sqliteFileSet::anotherUsersFile(path))
    return refused(*others, Reason::unwritable, "it belongs to another user");
  return std::nullopt;
}

Attempt attempt(const std::string& path, Milliseconds busyTimeout) {
  if (auto refusal = refusalUnseen(path)) return *std::move(refusal);
  switch (kindOfFile(path)) {
    case SQLiteFileKind::ours:
      return openExisting(path, busyTimeout);
    case SQLiteFileKind::foreign:
      return refused(path, Reason::foreignFile);
    case SQLiteFileKind::newer:
      return refused(path, Reason::newerVersion);
    case SQLiteFileKind::unreadable:
      return refused(errorForErrno(path, errno));
    case SQLiteFileKind::absent:
    case SQLiteFileKind::empty:
    case SQLiteFileKind::damaged:
      break;
  }
  return unusable();
}

/// Sets aside what is at `path`, creates a fresh file there and opens it. The caller holds the folder's lock.
Attempt makeAnew(const std::string& path, Milliseconds busyTimeout) {
  const bool isPlaceForFresh = !nameIsTaken(path) || kindOfFile(path) == SQLiteFileKind::empty;
  // A log without its database, or beside an empty one, would be played into the fresh file.
  if (!isPlaceForFresh || sqliteFileSet::hasCompanions(path)) {
    if (const int number = sqliteFileSet::setAside(path)) return refused(errorForErrno(path, number));
  }
  if (auto error = createFreshCacheFile(path, busyTimeout)) return refused(std::move(*error));
  return openExisting(path, busyTimeout);
}

Result<Connection> conclude(Attempt attempt, const std::string& path) {
  switch (attempt.outcome) {
    case Outcome::opened:
      return std::move(attempt.connection);
    case Outcome::refused:
      return std::move(*attempt.error);
    case Outcome::unusable:
      break;
  }
  return Error(SQLiteCacheError{Reason::failed, path, "it is damaged again"});
}

}  // namespace

Result<Connection> open(const std::string& path, Milliseconds busyTimeout) {
  if (auto error = cachePath::createFolders(path)) return *std::move(error);

  Attempt found = attempt(path, busyTimeout);
  if (found.outcome != Outcome::unusable) return conclude(std::move(found), path);
  const FolderLock lock(cachePath::folderOf(path));
  if (!lock.held()) return lock.error(path);
  found = attempt(path, busyTimeout);  // another process may have been quicker
  if (found.outcome == Outcome::unusable) found = makeAnew(path, busyTimeout);
  return conclude(std::move(found), path);
}

Result<Connection> replace(Connection damaged, const std::string& path, Milliseconds busyTimeout) {
  damaged->leaveUntouchedOnClose();
  const FolderLock lock(cachePath::folderOf(path));
  if (!lock.held()) return lock.error(path);
  const bool stillThere = !damaged->moved();
  damaged.reset();

  Attempt found = attempt(path, busyTimeout);
  if (found.outcome == Outcome::refused) return conclude(std::move(found), path);
  if (found.outcome == Outcome::opened) {
    if (!stillThere) return conclude(std::move(found), path);
    found.connection->leaveUntouchedOnClose();
    found.connection.reset();
  }
  return conclude(makeAnew(path, busyTimeout), path);
}

}  // namespace vellora::hostkit::sqliteCacheFile
