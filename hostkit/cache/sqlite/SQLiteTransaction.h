#pragma once

#include "hostkit/cache/sqlite/SQLiteDatabase.h"

namespace vellora::hostkit {

/// A transaction that is undone unless it is committed.
///
/// Ownership: the database must outlive it.
///
/// Errors: those of its statements stay in the database; undoing keeps the first of them.
class SQLiteTransaction {
 public:
  enum class Kind { reading, writing };

  SQLiteTransaction(SQLiteDatabase& database, Kind kind);
  ~SQLiteTransaction();
  SQLiteTransaction(const SQLiteTransaction&) = delete;
  SQLiteTransaction& operator=(const SQLiteTransaction&) = delete;

  void commit();

 private:
  SQLiteDatabase& database_;
};

}  // namespace vellora::hostkit
