#include "hostkit/SQLiteFileMarks.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "hostkit/SQLiteSchema.h"

namespace vellora::hostkit {

namespace {

constexpr std::size_t pageSize = 4096;
constexpr std::size_t applicationIdOffset = 68;
constexpr std::size_t versionOffset = 60;

/// A big-endian number of SQLite's header; 0 when the file ends before it.
std::uint32_t headerNumber(std::string_view page, std::size_t offset) {
  if (page.size() < offset + 4) return 0;
  std::uint32_t number = 0;
  for (const char byte : page.substr(offset, 4)) number = number << 8 | static_cast<unsigned char>(byte);
  return number;
}

SQLiteFileKind judge(std::string_view page) {
  if (page.empty()) return SQLiteFileKind::empty;
  const bool hasMagic = page.starts_with(sqliteSchema::magic);
  const bool hasId = headerNumber(page, applicationIdOffset) == sqliteSchema::applicationId;
  const bool hasTable = page.find(sqliteSchema::firstTable) != std::string_view::npos;
  if (hasMagic + hasId + hasTable < 2) return SQLiteFileKind::foreign;
  if (!hasMagic || !hasId) return SQLiteFileKind::damaged;
  if (headerNumber(page, versionOffset) > sqliteSchema::version) return SQLiteFileKind::newer;
  return hasTable ? SQLiteFileKind::ours : SQLiteFileKind::damaged;
}

using FileName = std::unique_ptr<const char, decltype(&sqlite3_free_filename)>;

/// The file's first page, or as much of it as there is.
std::optional<std::string> firstPage(const std::string& path, std::size_t fileSize) {
  sqlite3_vfs* vfs = sqlite3_vfs_find(nullptr);
  const FileName name(sqlite3_create_filename(path.c_str(), "", "", 0, nullptr), &sqlite3_free_filename);
  std::vector<std::max_align_t> space(static_cast<std::size_t>(vfs->szOsFile) / sizeof(std::max_align_t) + 1);
  auto* file = reinterpret_cast<sqlite3_file*>(space.data());
  int flags = SQLITE_OPEN_READONLY | SQLITE_OPEN_MAIN_DB;
  int code = vfs->xOpen(vfs, name.get(), file, flags, &flags);
  std::string page(std::min(fileSize, pageSize), '\0');
  if (code == SQLITE_OK) code = file->pMethods->xRead(file, page.data(), static_cast<int>(page.size()), 0);
  if (file->pMethods != nullptr) file->pMethods->xClose(file);
  return code == SQLITE_OK || code == SQLITE_IOERR_SHORT_READ ? std::optional(std::move(page)) : std::nullopt;
}

}  // namespace

SQLiteFileKind kindOfFile(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    return errno == ENOENT ? SQLiteFileKind::absent : SQLiteFileKind::unreadable;
  }
  if (!S_ISREG(status.st_mode)) return SQLiteFileKind::foreign;
  errno = EACCES;  // what a failure below most likely means, should it not say so itself
  const auto page = firstPage(path, static_cast<std::size_t>(status.st_size));
  return page ? judge(*page) : SQLiteFileKind::unreadable;
}

}  // namespace vellora::hostkit
