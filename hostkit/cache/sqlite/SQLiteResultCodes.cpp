#include "hostkit/cache/sqlite/SQLiteResultCodes.h"

#include <sqlite3.h>

#include <system_error>

#include "hostkit/cache/sqlite/SQLiteCacheError.h"

namespace vellora::hostkit {

namespace {

using Reason = SQLiteCacheError::Reason;

/// The code without what an extended one adds in its upper bits.
int primary(int code) {
  constexpr int primaryBits = 0xff;
  return code & primaryBits;
}

bool meansDenied(int code) {
  return primary(code) == SQLITE_CANTOPEN || primary(code) == SQLITE_READONLY || primary(code) == SQLITE_PERM;
}

Reason reasonFor(int code) {
  if (meansLocked(code)) return Reason::locked;
  if (meansDenied(code)) return Reason::unwritable;
  if (meansDamage(code)) return Reason::damaged;
  return Reason::failed;
}

}  // namespace

bool meansDamage(int code) {
  // No statement of ours breaks a constraint of a sound database.
  return primary(code) == SQLITE_CORRUPT || primary(code) == SQLITE_NOTADB ||
         primary(code) == SQLITE_CONSTRAINT;
}

bool meansOtherLayout(int code) {
  return primary(code) == SQLITE_ERROR;
}

bool meansLocked(int code) {
  // A protocol failure is SQLite's word for a process that halts while it writes the log's index.
  return primary(code) == SQLITE_BUSY || primary(code) == SQLITE_LOCKED || primary(code) == SQLITE_PROTOCOL;
}

Error errorForCode(const std::string& path, int code) {
  return SQLiteCacheError{reasonFor(code), path, sqlite3_errstr(code)};
}

Error errorForErrno(const std::string& path, int number) {
  return SQLiteCacheError{Reason::unwritable, path, std::generic_category().message(number)};
}

}  // namespace vellora::hostkit
