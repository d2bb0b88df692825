#include "hostkit/cache/sqlite/SQLiteDatabase.h"

#include <sqlite3.h>

#include <filesystem>
#include <system_error>
#include <utility>

namespace vellora::hostkit {

namespace {

// A damaged or forged file must not make SQLite spend much memory or time. Each limit leaves our own
// statements a little room, and the file gets no more.
constexpr int largestValue = 256 * 1024 * 1024;  // bytes; a damaged length must not allocate more
constexpr int longestSql = 4000;                 // bytes; our statements have a few hundred
constexpr int mostColumns = 30;                  // columns; our widest table has 7
constexpr int deepestExpression = 30;            // levels; our expressions nest only a few deep
constexpr int mostCompoundSelects = 3;           // SELECTs in one statement; we join 2
constexpr int longestProgram = 25000;   // instructions; what SQLite advises for files of unknown origin
constexpr int mostArguments = 8;        // arguments of a function; our calls have up to 2
constexpr int mostAttached = 0;         // databases; we attach none
constexpr int longestLikePattern = 50;  // bytes; ours has 8
constexpr int mostParameters = 16;      // parameters of a statement; ours have up to 7
constexpr int deepestTrigger = 1;       // levels; we have no triggers, and they are turned off
constexpr int mostWorkers = 0;          // threads; a connection keeps to the thread that uses it

constexpr std::pair<int, int> limits[] = {
    {SQLITE_LIMIT_LENGTH, largestValue},
    {SQLITE_LIMIT_SQL_LENGTH, longestSql},
    {SQLITE_LIMIT_COLUMN, mostColumns},
    {SQLITE_LIMIT_EXPR_DEPTH, deepestExpression},
    {SQLITE_LIMIT_COMPOUND_SELECT, mostCompoundSelects},
    {SQLITE_LIMIT_VDBE_OP, longestProgram},
    {SQLITE_LIMIT_FUNCTION_ARG, mostArguments},
    {SQLITE_LIMIT_ATTACHED, mostAttached},
    {SQLITE_LIMIT_LIKE_PATTERN_LENGTH, longestLikePattern},
    {SQLITE_LIMIT_VARIABLE_NUMBER, mostParameters},
    {SQLITE_LIMIT_TRIGGER_DEPTH, deepestTrigger},
    {SQLITE_LIMIT_WORKER_THREADS, mostWorkers},
};

// The number is negative, so SQLite takes it for KiB: 384 KiB of pages. More would not help, because a list
// is read once and would fill any number of pages.
constexpr std::string_view smallPageCache = "PRAGMA cache_size = -384";

// 4194304 bytes, which are 4 MiB. A log that has grown beyond that is cut down when it is begun anew, so that
// one large change does not take up room for ever.
constexpr std::string_view smallLog = "PRAGMA journal_size_limit = 4194304";

// 2500 pages, which are 10 MB. The first load of 2,000 types writes 1,500 pages, bodies included. At SQLite's
// own 1,000 pages it would have to wait for the disk while it moves them from the log into the file.
constexpr std::string_view longLog = "PRAGMA wal_autocheckpoint = 2500";

}  // namespace

SQLiteDatabase::Opened SQLiteDatabase::openAs(const std::string& name, int flags) {
  std::unique_ptr<SQLiteDatabase> database(new SQLiteDatabase);  // first, since this may find no memory
  const int code = sqlite3_open_v2(
      name.c_str(), &database->handle_,
      flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE | SQLITE_OPEN_EXRESCODE, nullptr);
  if (code != SQLITE_OK) return {nullptr, code};
  return {std::move(database), SQLITE_OK};
}

SQLiteDatabase::Opened SQLiteDatabase::open(const std::string& path, std::chrono::milliseconds busyTimeout) {
  Opened opened = openAs(path, SQLITE_OPEN_READWRITE);
  if (opened.database == nullptr) return opened;
  sqlite3* const handle = opened.database->handle_;
  sqlite3_busy_timeout(handle, static_cast<int>(busyTimeout.count()));
  // SQLite falls back to reading when it may not write.
  if (sqlite3_db_readonly(handle, "main") == 1) return {nullptr, SQLITE_READONLY};
  opened.database->distrustContent();
  return opened;
}

SQLiteDatabase::Opened SQLiteDatabase::openForReading(const std::string& path,
                                                      std::chrono::milliseconds busyTimeout) {
  std::error_code tooLong;  // no file has such a name, so there is no log
  const bool hasLog = std::filesystem::exists(path + "-wal", tooLong);
  auto opened = open(path, busyTimeout);
  if (opened.code == SQLITE_READONLY && !hasLog) opened = openUnchanging(path);
  if (opened.database == nullptr) return opened;
  opened.database->run("PRAGMA query_only = ON");
  // Closing would move what stands in the log into the file. Without a log it only tidies up.
  if (hasLog) opened.database->leaveUntouchedOnClose();
  return opened;
}

/// Opens a file that nobody can be writing to, without the companions that SQLite could not create.
SQLiteDatabase::Opened SQLiteDatabase::openUnchanging(const std::string& path) {
  // Two slashes at the beginning of the path itself would otherwise be taken for those before a host.
  std::string address = path.starts_with('/') ? "file://" : "file:";
  for (const char next : path) {
    if (next == '%' || next == '?' || next == '#') {
      constexpr std::string_view digits = "0123456789ABCDEF";
      const auto byte = static_cast<unsigned char>(next);
      address.append({'%', digits[byte >> 4U], digits[byte & 15U]});
    } else {
      address += next;
    }
  }
  Opened opened = openAs(address + "?immutable=1", SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
  if (opened.database != nullptr) opened.database->distrustContent();
  return opened;
}

SQLiteDatabase::~SQLiteDatabase() {
  for (const auto& [sql, statement] : statements_) sqlite3_finalize(statement);
  sqlite3_close(handle_);
}

void SQLiteDatabase::distrustContent() {
  const auto configure = [this](int option, int value) {
    sqlite3_db_config(handle_, option, value, nullptr);
  };
  configure(SQLITE_DBCONFIG_DEFENSIVE, 1);
  configure(SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0);
  configure(SQLITE_DBCONFIG_ENABLE_TRIGGER, 0);
  configure(SQLITE_DBCONFIG_ENABLE_VIEW, 0);
  configure(SQLITE_DBCONFIG_DQS_DML, 0);
  for (const auto& [limit, value] : limits) sqlite3_limit(handle_, limit, value);
  run("PRAGMA mmap_size = 0");
  run("PRAGMA cell_size_check = ON");
  run("PRAGMA temp_store = MEMORY");
  run(smallPageCache);
  run("PRAGMA synchronous = NORMAL");
  run("PRAGMA secure_delete = ON");  // so that no damaged pointer can lead to what was deleted
  run(smallLog);
  run(longLog);
}

SQLiteStatement SQLiteDatabase::statement(std::string_view sql) {
  auto& slot = statements_[sql];
  if (slot == nullptr && !failed()) {
    note(sqlite3_prepare_v3(handle_, sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT,
                            &slot, nullptr));
  }
  return {failure_, slot};
}

void SQLiteDatabase::run(std::string_view sql) {
  SQLiteStatement once = statement(sql);
  while (once.step()) continue;
}

void SQLiteDatabase::setHeaderNumber(const std::string& name, std::uint32_t number) {
  if (failed()) return;
  const std::string sql = "PRAGMA " + name + " = " + std::to_string(number);
  note(sqlite3_exec(handle_, sql.c_str(), nullptr, nullptr, nullptr));
}

void SQLiteDatabase::rollBack() noexcept {
  sqlite3_exec(handle_, "ROLLBACK", nullptr, nullptr, nullptr);
}

void SQLiteDatabase::startOver() {
  clearFailure();
  if (!inTransaction()) return;
  rollBack();
  if (inTransaction()) note(SQLITE_NOMEM);
}

void SQLiteDatabase::noteDamage() {
  note(SQLITE_CORRUPT_INDEX);
}

bool SQLiteDatabase::inTransaction() const {
  return sqlite3_get_autocommit(handle_) == 0;
}

bool SQLiteDatabase::moved() const {
  int answer = 0;
  sqlite3_file_control(handle_, "main", SQLITE_FCNTL_HAS_MOVED, &answer);
  return answer != 0;
}

void SQLiteDatabase::releaseMemory() {
  largeRows_.forgetAll();
  sqlite3_db_release_memory(handle_);
}

void SQLiteDatabase::leaveUntouchedOnClose() {
  sqlite3_db_config(handle_, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
}

}  // namespace vellora::hostkit
