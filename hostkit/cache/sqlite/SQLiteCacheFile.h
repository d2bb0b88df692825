#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "hostkit/cache/sqlite/SQLiteDatabase.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::hostkit {

/// The file of a `SQLiteCache`: finds out what it is, creates it, and sets a damaged one aside.
///
/// A file is one of ours when at least two of these three marks are there: it begins as every SQLite file
/// does; SQLite's header holds our application id; the text of our first table stands in the first page. With
/// one mark or none it never was ours and is refused, before SQLite gets to see it. One that is ours, but
/// lacks a mark or does not hold the tables that we wrote, is damaged: it is renamed to NAME.damaged-1 (or
/// the next free number) together with its log, and a fresh one takes its name. So is a file of nothing but
/// zero bytes, which a loss of power leaves. A fresh file also takes the
/// place of a file without any bytes.
///
/// Whatever is in it, a file of another user is refused, who could read what is written there; so is one
/// with another user's log beside it, and a link that leads nowhere.
///
/// A fresh file is made as .vellora-making in the same folder and linked to its own name when it is complete,
/// so that no crash can leave half a file that would be refused ever after. What a crash or a loss of power
/// left there is removed; what was never ours is left alone, and no fresh file can be made until it is moved
/// away. Creating and setting aside happen under a lock of the folder, so that several processes that start
/// at once agree on one file.
///
/// Errors: `SQLiteCacheError`.
namespace sqliteCacheFile {

/// Opens the cache at the resolved `path`, creating or replacing what must be.
[[nodiscard]] Result<std::shared_ptr<SQLiteDatabase>> open(const std::string& path,
                                                           std::chrono::milliseconds busyTimeout);

/// The same after `damaged`, a connection to `path`, was found to be damaged beyond what its layout shows. It
/// is closed, and its file set aside unless that has happened already.
[[nodiscard]] Result<std::shared_ptr<SQLiteDatabase>> replace(std::shared_ptr<SQLiteDatabase> damaged,
                                                              const std::string& path,
                                                              std::chrono::milliseconds busyTimeout);

}  // namespace sqliteCacheFile

}  // namespace vellora::hostkit
