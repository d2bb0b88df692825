#include "hostkit/cache/sqlite/SQLiteCacheFile.h"

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

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

/// Creates `folder` and what is missing above it, for its owner alone. What exists stays as it is. 0, or the
/// `errno` of what went wrong.
int createFolders(const std::filesystem::path& folder) {
  if (folder.empty() || std::filesystem::is_directory(folder)) return 0;
  if (const int number = createFolders(folder.parent_path())) return number;
  return mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST ? 0 : errno;
}

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

Attempt refused(const std::string& path, Reason reason) {
  return refused(SQLiteCacheError{reason, path, ""});
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
    return opened(std::move(database));
  }
  database->leaveUntouchedOnClose();
  if (state == State::newer) return refused(path, Reason::newerVersion);
  if (state == State::unreadable) return refused(errorForCode(path, database->failure()));
  return unusable();
}

Attempt attempt(const std::string& path, Milliseconds busyTimeout) {
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

bool isName(const std::string& path) {
  return !path.empty() && path.find('\0') == std::string::npos;
}

std::string folderOf(const std::string& path) {
  return std::filesystem::path(path).parent_path().string();
}

Error folderInUse(const std::string& path) {
  return SQLiteCacheError{Reason::locked, path, "its folder is in use"};
}

}  // namespace

std::string resolvedPath(const std::string& path) {
  if (!isName(path)) return path;
  std::error_code failure;
  const auto absolute = std::filesystem::absolute(path, failure);
  const auto canonical = std::filesystem::weakly_canonical(absolute, failure);
  return failure ? absolute.string() : canonical.string();
}

Result<Connection> open(const std::string& path, Milliseconds busyTimeout) {
  if (!isName(path)) return errorForErrno(path, EINVAL);
  if (const int number = createFolders(folderOf(path))) return errorForErrno(path, number);

  Attempt found = attempt(path, busyTimeout);
  if (found.outcome != Outcome::unusable) return conclude(std::move(found), path);
  const FolderLock lock(folderOf(path));
  if (!lock.held()) return folderInUse(path);
  found = attempt(path, busyTimeout);  // another process may have been quicker
  if (found.outcome == Outcome::unusable) found = makeAnew(path, busyTimeout);
  return conclude(std::move(found), path);
}

Result<Connection> replace(Connection damaged, const std::string& path, Milliseconds busyTimeout) {
  damaged->leaveUntouchedOnClose();
  const FolderLock lock(folderOf(path));
  if (!lock.held()) return folderInUse(path);
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
