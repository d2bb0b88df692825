#include "tests/hostkit/cache/sqlite/FaultyFiles.h"

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <new>

namespace vellora::hostkit::tests {

namespace {

/// What a call needs in order to succeed.
enum class Needs { disk, room, lock };

/// When to fail, and how often that has come about.
struct Schedule {
  std::int64_t call = 0;  // 0: never
  FaultyFiles::Fault fault = FaultyFiles::Fault::error;
  FaultyFiles::Lasting lasting = FaultyFiles::Lasting::once;
  std::int64_t counted = 0;
  bool failed = false;

  [[nodiscard]] bool concerns(Needs needs) const {
    switch (fault) {
      case FaultyFiles::Fault::full:
        return needs == Needs::room;
      case FaultyFiles::Fault::busy:
        return needs == Needs::lock;
      case FaultyFiles::Fault::error:
        return true;
    }
    return false;
  }

  /// Counts a call; SQLITE_OK when it is to be made, else what it is to answer.
  int codeFor(Needs needs, int brokenDisk) {
    if (call == 0 || !concerns(needs)) return SQLITE_OK;
    ++counted;
    const bool due = lasting == FaultyFiles::Lasting::once ? counted == call : counted >= call;
    if (!due) return SQLITE_OK;
    failed = true;
    if (fault == FaultyFiles::Fault::full) return SQLITE_FULL;
    return fault == FaultyFiles::Fault::busy ? SQLITE_BUSY : brokenDisk;
  }
};

/// A file of the layer; the real one follows it in the same piece of memory, which SQLite provides.
struct File {
  sqlite3_file base;
  Schedule* schedule;

  sqlite3_file* real() { return reinterpret_cast<sqlite3_file*>(this + 1); }
};

File& fileOf(sqlite3_file* file) {
  return *reinterpret_cast<File*>(file);
}

sqlite3_file* realOf(sqlite3_file* file) {
  return fileOf(file).real();
}

int faultAt(sqlite3_file* file, Needs needs, int brokenDisk) {
  return fileOf(file).schedule->codeFor(needs, brokenDisk);
}

int closeFile(sqlite3_file* file) {
  return realOf(file)->pMethods->xClose(realOf(file));
}

int readFile(sqlite3_file* file, void* bytes, int count, sqlite3_int64 offset) {
  if (const int code = faultAt(file, Needs::disk, SQLITE_IOERR_READ)) return code;
  return realOf(file)->pMethods->xRead(realOf(file), bytes, count, offset);
}

int writeFile(sqlite3_file* file, const void* bytes, int count, sqlite3_int64 offset) {
  const int code = faultAt(file, Needs::room, SQLITE_IOERR_WRITE);
  if (code == SQLITE_OK) return realOf(file)->pMethods->xWrite(realOf(file), bytes, count, offset);
  if (code == SQLITE_FULL) realOf(file)->pMethods->xWrite(realOf(file), bytes, count / 2, offset);
  return code;
}

int truncateFile(sqlite3_file* file, sqlite3_int64 size) {
  if (const int code = faultAt(file, Needs::disk, SQLITE_IOERR_TRUNCATE)) return code;
  return realOf(file)->pMethods->xTruncate(realOf(file), size);
}

int syncFile(sqlite3_file* file, int flags) {
  if (const int code = faultAt(file, Needs::disk, SQLITE_IOERR_FSYNC)) return code;
  return realOf(file)->pMethods->xSync(realOf(file), flags);
}

int sizeOfFile(sqlite3_file* file, sqlite3_int64* size) {
  return realOf(file)->pMethods->xFileSize(realOf(file), size);
}

int lockFile(sqlite3_file* file, int level) {
  if (const int code = faultAt(file, Needs::lock, SQLITE_IOERR_LOCK)) return code;
  return realOf(file)->pMethods->xLock(realOf(file), level);
}

int unlockFile(sqlite3_file* file, int level) {
  return realOf(file)->pMethods->xUnlock(realOf(file), level);
}

int isFileReserved(sqlite3_file* file, int* reserved) {
  if (const int code = faultAt(file, Needs::disk, SQLITE_IOERR_CHECKRESERVEDLOCK)) return code;
  return realOf(file)->pMethods->xCheckReservedLock(realOf(file), reserved);
}

int controlFile(sqlite3_file* file, int operation, void* argument) {
  return realOf(file)->pMethods->xFileControl(realOf(file), operation, argument);
}

int sectorSize(sqlite3_file* file) {
  return realOf(file)->pMethods->xSectorSize(realOf(file));
}

int characteristics(sqlite3_file* file) {
  return realOf(file)->pMethods->xDeviceCharacteristics(realOf(file));
}

int mapShared(sqlite3_file* file, int region, int size, int extend, void volatile** memory) {
  const int code = faultAt(file, extend != 0 ? Needs::room : Needs::disk, SQLITE_IOERR_SHMMAP);
  if (code != SQLITE_OK) return code == SQLITE_FULL ? SQLITE_IOERR_SHMSIZE : code;
  return realOf(file)->pMethods->xShmMap(realOf(file), region, size, extend, memory);
}

int lockShared(sqlite3_file* file, int offset, int count, int flags) {
  const bool takes = (flags & SQLITE_SHM_LOCK) != 0;
  const bool asWriter = (flags & SQLITE_SHM_EXCLUSIVE) != 0 && offset == 0;
  if (takes) {
    if (const int code = faultAt(file, asWriter ? Needs::lock : Needs::disk, SQLITE_IOERR_SHMLOCK))
      return code;
  }
  return realOf(file)->pMethods->xShmLock(realOf(file), offset, count, flags);
}

void fenceShared(sqlite3_file* file) {
  realOf(file)->pMethods->xShmBarrier(realOf(file));
}

int unmapShared(sqlite3_file* file, int remove) {
  return realOf(file)->pMethods->xShmUnmap(realOf(file), remove);
}

constexpr sqlite3_io_methods methods{2,           closeFile,   readFile,        writeFile,  truncateFile,
                                     syncFile,    sizeOfFile,  lockFile,        unlockFile, isFileReserved,
                                     controlFile, sectorSize,  characteristics, mapShared,  lockShared,
                                     fenceShared, unmapShared, nullptr,         nullptr};

}  // namespace

struct FaultyFiles::Layer {
  sqlite3_vfs vfs{};
  sqlite3_vfs* real = nullptr;
  Schedule schedule;

  static Layer& of(sqlite3_vfs* vfs) { return *static_cast<Layer*>(vfs->pAppData); }

  static int openFile(sqlite3_vfs* vfs, sqlite3_filename name, sqlite3_file* space, int flags,
                      int* outFlags) {
    Layer& layer = of(vfs);
    auto* file = new (space) File{{nullptr}, &layer.schedule};
    file->real()->pMethods = nullptr;
    const Needs needs = (flags & SQLITE_OPEN_CREATE) != 0 ? Needs::room : Needs::disk;
    if (layer.schedule.codeFor(needs, SQLITE_CANTOPEN) != SQLITE_OK) return SQLITE_CANTOPEN;
    const int code = layer.real->xOpen(layer.real, name, file->real(), flags, outFlags);
    if (file->real()->pMethods != nullptr) file->base.pMethods = &methods;
    return code;
  }

  static int deleteFile(sqlite3_vfs* vfs, const char* name, int sync) {
    if (const int code = of(vfs).schedule.codeFor(Needs::disk, SQLITE_IOERR_DELETE)) return code;
    return of(vfs).real->xDelete(of(vfs).real, name, sync);
  }

  static int accessFile(sqlite3_vfs* vfs, const char* name, int flags, int* result) {
    if (const int code = of(vfs).schedule.codeFor(Needs::disk, SQLITE_IOERR_ACCESS)) return code;
    return of(vfs).real->xAccess(of(vfs).real, name, flags, result);
  }
};

FaultyFiles::FaultyFiles() : layer_(std::make_unique<Layer>()) {
  layer_->real = sqlite3_vfs_find(nullptr);
  // Time, randomness and names are as they are: those members take the layer for nothing but a name.
  layer_->vfs = *layer_->real;
  layer_->vfs.pNext = nullptr;
  layer_->vfs.zName = "vellora-faulty";
  layer_->vfs.szOsFile = static_cast<int>(sizeof(File)) + layer_->real->szOsFile;
  layer_->vfs.pAppData = layer_.get();
  layer_->vfs.xOpen = &Layer::openFile;
  layer_->vfs.xDelete = &Layer::deleteFile;
  layer_->vfs.xAccess = &Layer::accessFile;
  sqlite3_vfs_register(&layer_->vfs, 1);
}

FaultyFiles::~FaultyFiles() {
  sqlite3_vfs_unregister(&layer_->vfs);
  sqlite3_vfs_register(layer_->real, 1);
}

void FaultyFiles::failAt(std::int64_t call, Fault fault, Lasting lasting) {
  layer_->schedule = {call, fault, lasting, 0, false};
}

void FaultyFiles::heal() {
  layer_->schedule.call = 0;
}

bool FaultyFiles::hasFailed() const {
  return layer_->schedule.failed;
}

}  // namespace vellora::hostkit::tests
