#include "hostkit/cache/sqlite/SQLiteStatement.h"

#include <sqlite3.h>

#include <cstddef>

namespace vellora::hostkit {

SQLiteStatement::SQLiteStatement(SQLiteFailure& failure, sqlite3_stmt* statement)
    : failure_(failure), statement_(statement) {}

SQLiteStatement::~SQLiteStatement() {
  if (statement_ == nullptr) return;
  sqlite3_reset(statement_);  // only repeats the error code of the last step, which is noted already
  sqlite3_clear_bindings(statement_);
}

SQLiteStatement& SQLiteStatement::bind(std::string_view bytes) {
  const char* start = bytes.data() != nullptr ? bytes.data() : "";  // null would bind SQL's NULL
  if (statement_ != nullptr)
    failure_.note(sqlite3_bind_blob64(statement_, ++bound_, start, bytes.size(), SQLITE_STATIC));
  return *this;
}

SQLiteStatement& SQLiteStatement::bind(std::int64_t number) {
  if (statement_ != nullptr) failure_.note(sqlite3_bind_int64(statement_, ++bound_, number));
  return *this;
}

SQLiteStatement& SQLiteStatement::bind(double number) {
  if (statement_ != nullptr) failure_.note(sqlite3_bind_double(statement_, ++bound_, number));
  return *this;
}

bool SQLiteStatement::step() {
  if (statement_ == nullptr || failure_) return false;
  const int code = sqlite3_step(statement_);
  if (code == SQLITE_ROW) return true;
  failure_.note(code == SQLITE_DONE ? SQLITE_OK : code);
  return false;
}

std::string_view SQLiteStatement::bytes(int column) const {
  const void* start = sqlite3_column_blob(statement_, column);
  const int size = sqlite3_column_bytes(statement_, column);
  return start == nullptr ? std::string_view()
                          : std::string_view(static_cast<const char*>(start), static_cast<std::size_t>(size));
}

std::int64_t SQLiteStatement::integer(int column) const {
  return sqlite3_column_int64(statement_, column);
}

double SQLiteStatement::real(int column) const {
  return sqlite3_column_double(statement_, column);
}

bool SQLiteStatement::isNull(int column) const {
  return sqlite3_column_type(statement_, column) == SQLITE_NULL;
}

}  // namespace vellora::hostkit
