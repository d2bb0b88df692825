#pragma once

#include <functional>
#include <optional>
#include <string>

#include "hostkit/cache/sqlite/SQLiteDatabase.h"
#include "vellora/Platform/Values/Data.h"

namespace vellora::hostkit {

/// The statements that read and write blobs. Each leaves its failures in the database; calls that belong
/// together are put in one transaction by the caller.
namespace sqliteBlobs {

/// The blob under `key`, or no value when there is none or it is damaged.
[[nodiscard]] std::optional<Data> read(SQLiteDatabase& database, const std::string& key);

/// Calls `visit` with every key and its blob, which is absent when it is damaged; in the order of the keys.
void readAll(SQLiteDatabase& database,
             const std::function<void(std::string key, std::optional<Data> blob)>& visit);

/// Stores `blob` in place of the one that has its key.
void write(SQLiteDatabase& database, const std::string& key, const Data& blob);

void remove(SQLiteDatabase& database, const std::string& key);

}  // namespace sqliteBlobs

}  // namespace vellora::hostkit
