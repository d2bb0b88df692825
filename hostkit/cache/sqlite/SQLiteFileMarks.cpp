#include "hostkit/cache/sqlite/SQLiteFileMarks.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hostkit/cache/sqlite/SQLiteSchema.h"

namespace vellora::hostkit {

namespace {

constexpr sqlite3_int64 pageSize = sqliteSchema::pageSize;

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
  const bool hasId = headerNumber(page, sqliteSchema::applicationIdOffset) == sqliteSchema::applicationId;
  const bool hasTable = page.find(sqliteSchema::firstTable) != std::string_view::npos;
  if (hasMagic + hasId + hasTable < 2) return SQLiteFileKind::foreign;
  if (!hasMagic || !hasId) return SQLiteFileKind::damaged;
  if (headerNumber(page, versionOffset) > sqliteSchema::version) return SQLiteFileKind::newer;
  return hasTable ? SQLiteFileKind::ours : SQLiteFileKind::damaged;
}

/// A file that is read through SQLite's file layer.
class SharedFile {
 public:
  explicit SharedFile(const std::string& path)
      : vfs_(sqlite3_vfs_find(nullptr)),
        name_(sqlite3_create_filename(path.c_str(), "", "", 0, nullptr), &sqlite3_free_filename),
        space_(static_cast<std::size_t>(vfs_->szOsFile) / sizeof(std::max_align_t) + 1),
        file_(reinterpret_cast<sqlite3_file*>(space_.data())) {
    int flags = SQLITE_OPEN_READONLY | SQLITE_OPEN_MAIN_DB;
    opened_ = vfs_->xOpen(vfs_, name_.get(), file_, flags, &flags) == SQLITE_OK;
  }
  ~SharedFile() {
    if (file_->pMethods != nullptr) file_->pMethods->xClose(file_);
  }
  SharedFile(const SharedFile&) = delete;
  SharedFile& operator=(const SharedFile&) = delete;

  /// `size` bytes from `offset` on, zeros behind the file's end; no value when it cannot be read.
  [[nodiscard]] std::optional<std::string> read(sqlite3_int64 offset, sqlite3_int64 size) const {
    if (!opened_) return std::nullopt;
    std::string bytes(static_cast<std::size_t>(size), '\0');
    const int code = file_->pMethods->xRead(file_, bytes.data(), static_cast<int>(size), offset);
    return code == SQLITE_OK || code == SQLITE_IOERR_SHORT_READ ? std::optional(std::move(bytes))
                                                                : std::nullopt;
  }

 private:
  using FileName = std::unique_ptr<const char, decltype(&sqlite3_free_filename)>;

  sqlite3_vfs* const vfs_;
  const FileName name_;
  std::vector<std::max_align_t> space_;
  sqlite3_file* const file_;
  bool opened_ = false;
};

bool onlyZeros(std::string_view bytes) {
  return bytes.find_first_not_of('\0') == std::string_view::npos;
}

/// Reads no further than the first block with something else in it.
SQLiteFileKind judgeBehindZeros(const SharedFile& file, sqlite3_int64 fileSize) {
  constexpr sqlite3_int64 blockSize = 65536;
  for (sqlite3_int64 offset = pageSize; offset < fileSize; offset += blockSize) {
    const auto block = file.read(offset, std::min(fileSize - offset, blockSize));
    if (!block) return SQLiteFileKind::unreadable;
    if (!onlyZeros(*block)) return SQLiteFileKind::foreign;
  }
  return SQLiteFileKind::damaged;
}

}  // namespace

SQLiteFileKind kindOfFile(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    return errno == ENOENT ? SQLiteFileKind::absent : SQLiteFileKind::unreadable;
  }
  if (!S_ISREG(status.st_mode)) return SQLiteFileKind::foreign;
  errno = EACCES;  // what a failure below most likely means, should it not say so itself
  const sqlite3_int64 fileSize = status.st_size;
  const SharedFile file(path);
  const auto page = file.read(0, std::min(fileSize, pageSize));
  if (!page) return SQLiteFileKind::unreadable;
  return !page->empty() && onlyZeros(*page) ? judgeBehindZeros(file, fileSize) : judge(*page);
}

}  // namespace vellora::hostkit
