#include "hostkit/cache/sqlite/SQLiteTransaction.h"

namespace vellora::hostkit {

SQLiteTransaction::SQLiteTransaction(SQLiteDatabase& database, Kind kind) : database_(database) {
  // A writer takes the lock at once: one that began by reading could not wait for another writer.
  database_.run(kind == Kind::writing ? "BEGIN IMMEDIATE" : "BEGIN");
}

SQLiteTransaction::~SQLiteTransaction() {
  if (database_.inTransaction()) database_.rollBack();
}

void SQLiteTransaction::commit() {
  database_.run("COMMIT");
}

}  // namespace vellora::hostkit
