#pragma once

#include <cstdint>
#include <string_view>

#include "hostkit/cache/sqlite/SQLiteFailure.h"

struct sqlite3_stmt;

namespace vellora::hostkit {

/// One run of a prepared statement: bind, then step until false. All content is bound and read as bytes, so
/// that any byte, NUL included, survives.
///
/// Ownership: borrowed from the database, which keeps it prepared; one text is one run at a time.
///
/// Threads: one at a time, as the connection.
///
/// Errors: the connection remembers its first failure; after one, `step` returns false.
class SQLiteStatement {
 public:
  /// Where a statement that yields one column has it.
  static constexpr int onlyColumn = 0;

  /// `failure` is the connection's. `statement` may be null, which is a statement that could not be prepared.
  SQLiteStatement(SQLiteFailure& failure, sqlite3_stmt* statement);
  ~SQLiteStatement();
  SQLiteStatement(const SQLiteStatement&) = delete;
  SQLiteStatement& operator=(const SQLiteStatement&) = delete;

  /// Binds the next parameter; `bytes` must outlive the run.
  SQLiteStatement& bind(std::string_view bytes);
  SQLiteStatement& bind(std::int64_t number);
  SQLiteStatement& bind(double number);

  /// True when there is a row to read.
  bool step();

  /// The column's bytes, valid until the next step.
  [[nodiscard]] std::string_view bytes(int column) const;
  [[nodiscard]] std::int64_t integer(int column) const;
  [[nodiscard]] double real(int column) const;
  [[nodiscard]] bool isNull(int column) const;

 private:
  SQLiteFailure& failure_;
  sqlite3_stmt* const statement_;
  int bound_ = 0;
};

}  // namespace vellora::hostkit
