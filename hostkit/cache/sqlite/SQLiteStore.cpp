#include "hostkit/cache/sqlite/SQLiteStore.h"

#include <utility>

#include "hostkit/cache/sqlite/SQLiteCacheError.h"
#include "hostkit/cache/sqlite/SQLiteCacheFile.h"
#include "hostkit/cache/sqlite/SQLiteOwner.h"
#include "hostkit/cache/sqlite/SQLiteResultCodes.h"

namespace vellora::hostkit {

namespace {

using sqliteOwner::Claim;

/// What a claim on the file at `path` came to: an error, or no value when it was granted.
std::optional<Error> refusal(Claim claim, SQLiteDatabase& database, const std::string& path) {
  if (claim == Claim::granted) return std::nullopt;
  if (claim == Claim::failed) return errorForCode(path, database.failure());
  database.leaveUntouchedOnClose();
  return SQLiteCacheError{SQLiteCacheError::Reason::otherOwner, path, ""};
}

}  // namespace

SQLiteStore::SQLiteStore(std::shared_ptr<SQLiteDatabase> database, std::string path,
                         std::chrono::milliseconds busyTimeout, std::function<Date()> clock,
                         std::optional<std::string> owner, Observer observer)
    : path_(std::move(path)),
      busyTimeout_(busyTimeout),
      clock_(std::move(clock)),
      owner_(std::move(owner)),
      observer_(std::move(observer)),
      database_(std::move(database)) {}

std::optional<Error> SQLiteStore::claim() {
  if (!owner_) return std::nullopt;
  std::optional<Error> refused;
  auto failure = attempt([this, &refused](SQLiteDatabase& database) {
    refused = refusal(sqliteOwner::claim(database, *owner_), database, path_);
  });
  return failure ? std::move(failure) : std::move(refused);
}

bool SQLiteStore::perform(const Operation& operation, Access access) {
  const auto failure = attempt(operation);
  const auto* error = failure ? failure->as<SQLiteCacheError>() : nullptr;
  if (error != nullptr && observer_) observer_({access, *error});
  return !failure;
}

void SQLiteStore::releaseMemory() {
  const std::lock_guard lock(mutex_);
  if (database_) database_->releaseMemory();
}

std::optional<Error> SQLiteStore::attempt(const Operation& operation) {
  const std::lock_guard lock(mutex_);
  std::optional<Error> failure;
  for (int round = 0; round < 2; ++round) {
    if (!database_ && (failure = openAgain())) return failure;
    database_->startOver();
    operation(*database_);
    if (!database_->failed()) return std::nullopt;
    failure = errorForCode(path_, database_->failure());
    if (!meansDamage(database_->failure())) return failure;
    if (auto error = adopt(sqliteCacheFile::replace(std::move(database_), path_, busyTimeout_)))
      failure = std::move(error);
  }
  return failure;
}

std::optional<Error> SQLiteStore::openAgain() {
  return adopt(sqliteCacheFile::open(path_, busyTimeout_));
}

/// Goes on with that connection, unless its file belongs to another owner by now.
std::optional<Error> SQLiteStore::adopt(Opened opened) {
  if (!opened) return opened.error();
  auto database = std::move(opened).value();
  if (owner_) {
    if (auto error = refusal(sqliteOwner::claim(*database, *owner_), *database, path_)) return error;
  }
  database_ = std::move(database);
  return std::nullopt;
}

}  // namespace vellora::hostkit
