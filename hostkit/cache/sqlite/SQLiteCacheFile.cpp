#include "hostkit/cache/sqlite/SQLiteCacheFile.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "hostkit/cache/sqlite/FileNaming.h"
#include "hostkit/cache/sqlite/SQLiteCacheError.h"
#include "hostkit/cache/sqlite/SQLiteFileMarks.h"
#include "hostkit/cache/sqlite/SQLiteSchema.h"

namespace vellora::hostkit::sqliteCacheFile {

namespace {

using Milliseconds = std::chrono::milliseconds;
using Connection = std::shared_ptr<SQLiteDatabase>;
using Reason = SQLiteCacheError::Reason;

constexpr std::array<std::string_view, 3> companions = {"-wal", "-shm", "-journal"};

std::string systemMessage(int number) {
  return std::generic_category().message(number);
}

Error unwritable(const std::string& path, int number) {
  return SQLiteCacheError{Reason::unwritable, path, systemMessage(number)};
}

/// Keeps other processes and threads from creating or replacing files of ours in one folder.
class FolderLock {
 public:
  explicit FolderLock(const std::string& folder)
      : descriptor_(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    constexpr Milliseconds pause(10);
    for (int left = 200; left > 0 && descriptor_ >= 0; --left) {
      held_ = flock(descriptor_, LOCK_EX | LOCK_NB) == 0;
      if (held_ || errno != EWOULDBLOCK) return;
      std::this_thread::sleep_for(pause);
    }
  }
  ~FolderLock() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

  [[nodiscard]] bool held() const { return held_; }

 private:
  const int descriptor_;
  bool held_ = false;
};

/// Creates `folder` and what is missing above it, for nobody else's eyes. What exists stays as it is.
int createFolders(const std::filesystem::path& folder) {
  if (folder.empty() || std::filesystem::is_directory(folder)) return 0;
  if (const int number = createFolders(folder.parent_path())) return number;
  return mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST ? 0 : errno;
}

/// Moves the file, if there is one, and what SQLite keeps beside it to the next free NAME.damaged-N.
int setAside(const std::string& path) {
  std::string target;
  const auto taken = [&target](std::string_view suffix) { return nameIsTaken(target + std::string(suffix)); };
  int number = 0;
  do {
    target = path + ".damaged-" + std::to_string(++number);
  } while (nameIsTaken(target) || std::any_of(companions.begin(), companions.end(), taken));

  if (nameIsTaken(path) && rename(path.c_str(), target.c_str()) != 0) return errno;
  for (const auto suffix : companions) {
    const std::string companion = path + std::string(suffix);
    if (nameIsTaken(companion) && rename(companion.c_str(), (target + std::string(suffix)).c_str()) != 0)
      return errno;
  }
  return 0;
}

/// Puts the complete file `made` where `path` is; it may keep its first name, too. Does not replace anything
/// but a file without bytes.
int putInPlace(const std::string& made, const std::string& path) {
  const int number = nameFile(made, path);
  if (number != EEXIST || kindOfFile(path) != SQLiteFileKind::empty) return number;
  return rename(made.c_str(), path.c_str()) == 0 ? 0 : errno;
}

/// Writes an empty cache to `path`, which is an empty file; SQLite's result code.
int writeSchema(const std::string& path, Milliseconds busyTimeout) {
  const auto [database, code] = SQLiteDatabase::open(path, busyTimeout);
  if (database == nullptr) return code;
  sqliteSchema::create(*database);
  return database->failure();
}

void removeWithCompanions(const std::string& path) {
  for (const auto suffix : companions) unlink((path + std::string(suffix)).c_str());
  unlink(path.c_str());
}

/// Clears away what a process that was killed left at `made`; false when something stands there that never
/// was a file of ours.
bool removeUnfinished(const std::string& made) {
  const auto taken = [&made](std::string_view suffix) { return nameIsTaken(made + std::string(suffix)); };
  switch (kindOfFile(made)) {
    case SQLiteFileKind::absent:  // its companions are always removed before it
      return !nameIsTaken(made) && std::none_of(companions.begin(), companions.end(), taken);
    case SQLiteFileKind::empty:
    case SQLiteFileKind::ours:
    case SQLiteFileKind::damaged:
      removeWithCompanions(made);
      return true;
    case SQLiteFileKind::foreign:
    case SQLiteFileKind::newer:
    case SQLiteFileKind::unreadable:
      break;
  }
  return false;
}

/// The caller holds the folder's lock, so nobody else in the folder is making a file: one name does for all
/// of them, is never too long, and can be no cache's own, since no file is ever put in place there.
std::optional<Error> createFresh(const std::string& path, Milliseconds busyTimeout) {
  const std::string made = (std::filesystem::path(path).parent_path() / ".vellora-making").string();
  if (!removeUnfinished(made)) {
    return SQLiteCacheError{Reason::unwritable, path, "\"" + made + "\" is in the way, move it away"};
  }
  const int descriptor = ::open(made.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (descriptor < 0) return unwritable(path, errno);
  close(descriptor);

  const int code = writeSchema(made, busyTimeout);
  const int number = code == SQLITE_OK ? putInPlace(made, path) : 0;
  removeWithCompanions(made);
  if (code != SQLITE_OK) return errorFor(path, code);
  if (number != 0) return unwritable(path, number);
  return std::nullopt;
}

/// What came of an attempt: a connection, an error, or (neither) the finding that the file must be made anew.
struct Attempt {
  Connection connection;
  std::optional<Error> error;
};

Attempt openExisting(const std::string& path, Milliseconds busyTimeout) {
  auto [database, code] = SQLiteDatabase::open(path, busyTimeout);
  if (database == nullptr) {
    if (meansDamage(code)) return {};
    return {nullptr, errorFor(path, code)};
  }
  const auto state = sqliteSchema::check(*database);
  if (state == sqliteSchema::State::sound) {
    chmod(path.c_str(), 0600);  // by name: see kindOfFile
    return {std::move(database), std::nullopt};
  }
  database->leaveUntouchedOnClose();
  if (state == sqliteSchema::State::newer) return {nullptr, SQLiteCacheError{Reason::newerVersion, path, ""}};
  if (state == sqliteSchema::State::unreadable) return {nullptr, errorFor(path, database->failure())};
  return {};
}

Attempt attempt(const std::string& path, Milliseconds busyTimeout) {
  switch (kindOfFile(path)) {
    case SQLiteFileKind::ours:
      return openExisting(path, busyTimeout);
    case SQLiteFileKind::foreign:
      return {nullptr, SQLiteCacheError{Reason::foreignFile, path, ""}};
    case SQLiteFileKind::newer:
      return {nullptr, SQLiteCacheError{Reason::newerVersion, path, ""}};
    case SQLiteFileKind::unreadable:
      return {nullptr, unwritable(path, errno)};
    case SQLiteFileKind::absent:
    case SQLiteFileKind::empty:
    case SQLiteFileKind::damaged:
      break;
  }
  return {};
}

/// Sets aside what is at `path`, creates a fresh file there and opens it. The caller holds the folder's lock.
Attempt makeAnew(const std::string& path, Milliseconds busyTimeout) {
  const bool empty = kindOfFile(path) == SQLiteFileKind::empty;
  // A log without its database, or beside an empty one, would be played into the fresh file.
  const auto left = [&path](std::string_view suffix) { return nameIsTaken(path + std::string(suffix)); };
  const bool stale = std::any_of(companions.begin(), companions.end(), left);
  if (nameIsTaken(path) ? !empty || stale : stale) {
    if (const int number = setAside(path)) return {nullptr, unwritable(path, number)};
  }
  if (auto error = createFresh(path, busyTimeout)) return {nullptr, std::move(error)};
  return openExisting(path, busyTimeout);
}

Result<Connection> conclude(Attempt outcome, const std::string& path) {
  if (outcome.connection) return std::move(outcome.connection);
  if (outcome.error) return std::move(*outcome.error);
  return Error(SQLiteCacheError{Reason::failed, path, "it is damaged again"});
}

bool isName(const std::string& path) {
  return !path.empty() && path.find('\0') == std::string::npos;
}

Error folderInUse(const std::string& path) {
  return SQLiteCacheError{Reason::locked, path, "its folder is in use"};
}

}  // namespace

Error errorFor(const std::string& path, int code) {
  const int primary = code & 0xff;
  const bool denied = primary == SQLITE_CANTOPEN || primary == SQLITE_READONLY || primary == SQLITE_PERM;
  const Reason reason = meansLocked(code)   ? Reason::locked
                        : denied            ? Reason::unwritable
                        : meansDamage(code) ? Reason::damaged
                                            : Reason::failed;
  return SQLiteCacheError{reason, path, sqlite3_errstr(code)};
}

std::string resolvedPath(const std::string& path) {
  if (!isName(path)) return path;
  std::error_code failure;
  const auto absolute = std::filesystem::absolute(path, failure);
  const auto canonical = std::filesystem::weakly_canonical(absolute, failure);
  return failure ? absolute.string() : canonical.string();
}

Result<Connection> open(const std::string& path, Milliseconds busyTimeout) {
  if (!isName(path)) return unwritable(path, EINVAL);
  const std::string folder = std::filesystem::path(path).parent_path().string();
  if (const int number = createFolders(folder)) return unwritable(path, number);

  Attempt outcome = attempt(path, busyTimeout);
  if (outcome.connection || outcome.error) return conclude(std::move(outcome), path);
  const FolderLock lock(folder);
  if (!lock.held()) return folderInUse(path);
  outcome = attempt(path, busyTimeout);  // another process may have been quicker
  if (!outcome.connection && !outcome.error) outcome = makeAnew(path, busyTimeout);
  return conclude(std::move(outcome), path);
}

Result<Connection> replace(Connection damaged, const std::string& path, Milliseconds busyTimeout) {
  damaged->leaveUntouchedOnClose();
  const FolderLock lock(std::filesystem::path(path).parent_path().string());
  if (!lock.held()) return folderInUse(path);
  const bool stillThere = !damaged->moved();
  damaged.reset();

  Attempt outcome = attempt(path, busyTimeout);
  if (outcome.error) return conclude(std::move(outcome), path);
  if (outcome.connection && !stillThere) return conclude(std::move(outcome), path);
  if (outcome.connection) outcome.connection->leaveUntouchedOnClose();
  outcome.connection.reset();
  return conclude(makeAnew(path, busyTimeout), path);
}

}  // namespace vellora::hostkit::sqliteCacheFile
