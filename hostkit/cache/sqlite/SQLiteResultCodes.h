#pragma once

#include <string>

#include "vellora/Platform/Values/Error.h"

namespace vellora::hostkit {

/// True when SQLite's result code `code` says that the file's content is damaged, as against locked,
/// unreadable or full.
[[nodiscard]] bool meansDamage(int code);

/// True when `code` says that a table or column of ours is not there.
[[nodiscard]] bool meansOtherLayout(int code);

/// True when `code` says that another process holds the file.
[[nodiscard]] bool meansLocked(int code);

/// The `SQLiteCacheError` for `code`, which SQLite gave about the file `path`.
[[nodiscard]] Error errorForCode(const std::string& path, int code);

/// The `SQLiteCacheError` for the `errno` that the system gave about the file `path`.
[[nodiscard]] Error errorForErrno(const std::string& path, int number);

}  // namespace vellora::hostkit
