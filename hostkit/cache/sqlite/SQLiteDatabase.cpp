#include "hostkit/cache/sqlite/SQLiteDatabase.h"

#include <sqlite3.h>

#include <filesystem>
#include <system_error>
#include <utility>

namespace vellora::hostkit {

namespace {

constexpr int largestValue = 256 * 1024 * 1024;  // bytes; a damaged length must not allocate more

// What our own statements need, with a little room: a damaged schema cannot ask for more.
constexpr std::pair<int, int> limits[] = {
    {SQLITE_LIMIT_LENGTH, largestValue},
    {SQLITE_LIMIT_SQL_LENGTH, 4000},
    {SQLITE_LIMIT_COLUMN, 30},
    {SQLITE_LIMIT_EXPR_DEPTH, 30},
    {SQLITE_LIMIT_COMPOUND_SELECT, 3},
    {SQLITE_LIMIT_VDBE_OP, 25000},
    {SQLITE_LIMIT_FUNCTION_ARG, 8},
    {SQLITE_LIMIT_ATTACHED, 0},
    {SQLITE_LIMIT_LIKE_PATTERN_LENGTH, 50},
    {SQLITE_LIMIT_VARIABLE_NUMBER, 16},
    {SQLITE_LIMIT_TRIGGER_DEPTH, 1},
    {SQLITE_LIMIT_WORKER_THREADS, 0},
};

}  // namespace

SQLiteDatabase::Opened SQLiteDatabase::open(const std::string& path, std::chrono::milliseconds busyTimeout) {
  sqlite3* handle = nullptr;
  const int flags =
      SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE | SQLITE_OPEN_EXRESCODE;
  const int code = sqlite3_open_v2(path.c_str(), &handle, flags, nullptr);
  if (code != SQLITE_OK) {
    sqlite3_close(handle);
    return {nullptr, code};
  }
  std::unique_ptr<SQLiteDatabase> database(new SQLiteDatabase(handle));
  sqlite3_busy_timeout(handle, static_cast<int>(busyTimeout.count()));
  // SQLite falls back to reading when it may not write.
  if (sqlite3_db_readonly(handle, "main") == 1) return {nullptr, SQLITE_READONLY};
  database->distrustContent();
  return {std::move(database), SQLITE_OK};
}

SQLiteDatabase::Opened SQLiteDatabase::openForReading(const std::string& path,
                                                      std::chrono::milliseconds busyTimeout) {
  std::error_code tooLong;  // no file has such a name, so there is no log
  const bool hasLog = std::filesystem::exists(path + "-wal", tooLong);
  auto opened = open(path, busyTimeout);
  if (opened.database == nullptr && opened.code == SQLITE_READONLY && !hasLog) opened = openUnchanging(path);
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
  sqlite3* handle = nullptr;
  const int flags = SQLITE_OPEN_READONLY | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE |
                    SQLITE_OPEN_EXRESCODE;
  const int code = sqlite3_open_v2((address + "?immutable=1").c_str(), &handle, flags, nullptr);
  if (code != SQLITE_OK) {
    sqlite3_close(handle);
    return {nullptr, code};
  }
  std::unique_ptr<SQLiteDatabase> database(new SQLiteDatabase(handle));
  database->distrustContent();
  return {std::move(database), SQLITE_OK};
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
  run("PRAGMA cache_size = -384");  // KiB of pages: a list is read once, and would fill any number
  run("PRAGMA synchronous = NORMAL");
  run("PRAGMA secure_delete = ON");  // so that no damaged pointer can lead to what was deleted
  run("PRAGMA journal_size_limit = 4194304");
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

void SQLiteDatabase::leaveUntouchedOnClose() {
  sqlite3_db_config(handle_, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
}

}  // namespace vellora::hostkit
