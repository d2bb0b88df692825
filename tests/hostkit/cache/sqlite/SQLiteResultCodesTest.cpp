#include "hostkit/cache/sqlite/SQLiteResultCodes.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cerrno>
#include <string>

#include "hostkit/cache/sqlite/SQLiteCacheError.h"

namespace vellora::hostkit::tests {
namespace {

const std::string cacheFile = "/folder/cache.db";

SQLiteCacheError::Reason reasonFor(int code) {
  return errorForCode(cacheFile, code).as<SQLiteCacheError>()->reason;
}

TEST(SQLiteResultCodesTest, DamageIsWhatNoSoundFileBringsForth) {
  for (const int code : {SQLITE_CORRUPT, SQLITE_CORRUPT_INDEX, SQLITE_NOTADB, SQLITE_CONSTRAINT_UNIQUE}) {
    EXPECT_TRUE(meansDamage(code)) << code;
    EXPECT_FALSE(meansLocked(code)) << code;
    EXPECT_EQ(reasonFor(code), SQLiteCacheError::Reason::damaged) << code;
  }
}

TEST(SQLiteResultCodesTest, TellsAProcessThatHaltsWhileItWritesTheLogsIndexAsOneThatHoldsTheFile) {
  EXPECT_TRUE(meansLocked(SQLITE_PROTOCOL));
  EXPECT_EQ(reasonFor(SQLITE_PROTOCOL), SQLiteCacheError::Reason::locked);
  EXPECT_EQ(reasonFor(SQLITE_BUSY_RECOVERY), SQLiteCacheError::Reason::locked);
  EXPECT_EQ(reasonFor(SQLITE_LOCKED), SQLiteCacheError::Reason::locked);
}

TEST(SQLiteResultCodesTest, WhatMayNotBeWrittenIsToldApartFromOtherFailures) {
  for (const int code : {SQLITE_CANTOPEN, SQLITE_READONLY_DIRECTORY, SQLITE_PERM}) {
    EXPECT_EQ(reasonFor(code), SQLiteCacheError::Reason::unwritable) << code;
  }
  EXPECT_EQ(reasonFor(SQLITE_FULL), SQLiteCacheError::Reason::failed);
  EXPECT_EQ(reasonFor(SQLITE_IOERR_READ), SQLiteCacheError::Reason::failed);
}

TEST(SQLiteResultCodesTest, OtherTablesAreNeitherDamageNorALock) {
  EXPECT_TRUE(meansOtherLayout(SQLITE_ERROR));
  EXPECT_FALSE(meansDamage(SQLITE_ERROR));
  EXPECT_FALSE(meansOtherLayout(SQLITE_CORRUPT));
}

TEST(SQLiteResultCodesTest, ErrorsHoldThePathAndTheReason) {
  EXPECT_EQ(*errorForCode(cacheFile, SQLITE_BUSY).as<SQLiteCacheError>(),
            (SQLiteCacheError{SQLiteCacheError::Reason::locked, cacheFile, "database is locked"}));
  EXPECT_EQ(*errorForErrno(cacheFile, ENOTDIR).as<SQLiteCacheError>(),
            (SQLiteCacheError{SQLiteCacheError::Reason::unwritable, cacheFile, "Not a directory"}));
}

}  // namespace
}  // namespace vellora::hostkit::tests
