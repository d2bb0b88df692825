#include "tests/power/DiskRecorder.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <map>
#include <optional>
#include <utility>

namespace vellora::tests {

struct DiskRecorder::Recording {
  explicit Recording(std::string path)
      : folder(std::move(path)), image(DiskImage::read(folder)), journal(image), lastFile(0) {
    for (const auto& [name, file] : image.names) lastFile = std::max(lastFile, file);
  }

  /// The name of the file at `path` in the folder; none for what is elsewhere.
  [[nodiscard]] std::optional<std::string> nameOf(const std::string& path) const {
    if (!path.starts_with(folder + "/")) return std::nullopt;
    return path.substr(folder.size() + 1);
  }

  void opened(int descriptor, const char* path) {
    if (path == folder) descriptors[descriptor] = theFolder;
    const auto name = nameOf(path);
    if (!name) return;
    if (!image.names.contains(*name)) {
      image.names[*name] = ++lastFile;
      journal.create(*name, lastFile);
    }
    descriptors[descriptor] = image.names[*name];
  }

  void wrote(int descriptor, const void* bytes, std::size_t count, off64_t offset) {
    const auto found = descriptors.find(descriptor);
    if (found == descriptors.end()) return;
    journal.write(found->second, static_cast<std::size_t>(offset), {static_cast<const char*>(bytes), count});
  }

  void resized(int descriptor, off64_t size) {
    const auto found = descriptors.find(descriptor);
    if (found != descriptors.end()) journal.resize(found->second, static_cast<std::size_t>(size));
  }

  void synced(int descriptor) {
    const auto found = descriptors.find(descriptor);
    if (found == descriptors.end()) return;
    if (found->second == theFolder) {
      journal.syncNames();
    } else {
      journal.sync(found->second);
    }
  }

  void linked(const char* from, const char* to) {
    const auto source = nameOf(from);
    const auto target = nameOf(to);
    if (!source || !target) return;
    image.names[*target] = image.names[*source];
    journal.create(*target, image.names[*target]);
  }

  void renamed(const char* from, const char* to) {
    const auto source = nameOf(from);
    const auto target = nameOf(to);
    if (!source || !target) return;
    const int file = image.names[*source];
    image.names.erase(*source);
    image.names[*target] = file;
    journal.rename(*source, *target, file);
  }

  void removed(const char* path) {
    const auto name = nameOf(path);
    if (!name) return;
    image.names.erase(*name);
    journal.remove(*name);
  }

  static constexpr int theFolder = 0;  // no file has that number

  const std::string folder;
  DiskImage image;  // of which the names are kept up to date
  DiskJournal journal;
  int lastFile;
  std::map<int, int> descriptors;  // the file of each that is open
};

/// What the replaced calls know.
struct RecordedCalls {
  static inline DiskRecorder::Recording* recording = nullptr;  // null while nothing is recorded

  static void begin(DiskRecorder& recorder) { recording = recorder.recording_.get(); }
  static void end() { recording = nullptr; }
};

DiskRecorder::DiskRecorder(std::string path) : recording_(std::make_unique<Recording>(std::move(path))) {
  RecordedCalls::begin(*this);
}

DiskRecorder::~DiskRecorder() {
  RecordedCalls::end();
}

const DiskJournal& DiskRecorder::journal() const {
  return recording_->journal;
}

namespace {

/// The system's call of that name.
template <class Call>
Call* systems(const char* name) {
  return reinterpret_cast<Call*>(dlsym(RTLD_NEXT, name));
}

auto* recording() {
  return RecordedCalls::recording;
}

/// What the calls without a 64 in their names take where the system has both: whatever off_t is here.
using ShortOffset = long;

/// The argument behind the flags. It is there only when a file may be made.
mode_t modeIn(va_list arguments, int flags) {
  const bool makesFile = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
  return makesFile ? va_arg(arguments, mode_t) : 0;
}

int noteOpened(int descriptor, const char* path) {
  if (recording() != nullptr && descriptor >= 0) recording()->opened(descriptor, path);
  return descriptor;
}

ssize_t noteWritten(ssize_t written, int descriptor, const void* bytes, off64_t offset) {
  if (recording() != nullptr && written > 0)
    recording()->wrote(descriptor, bytes, static_cast<std::size_t>(written), offset);
  return written;
}

int noteResized(int result, int descriptor, off64_t size) {
  if (recording() != nullptr && result == 0) recording()->resized(descriptor, size);
  return result;
}

}  // namespace

}  // namespace vellora::tests

// Each has a name of its own here and the system's in the program, so that no header's declaration is in the
// way.

#define REPLACES(call) __asm__(#call) __attribute__((visibility("default")))

using vellora::tests::modeIn;
using vellora::tests::noteOpened;
using vellora::tests::noteResized;
using vellora::tests::noteWritten;
using vellora::tests::recording;
using vellora::tests::ShortOffset;
using vellora::tests::systems;

extern "C" {

int recordedOpen(const char* path, int flags, ...) REPLACES(open);
int recordedOpen64(const char* path, int flags, ...) REPLACES(open64);
int recordedMakeTemporary(char* pattern, int flags) REPLACES(mkostemp);
int recordedMakeTemporary64(char* pattern, int flags) REPLACES(mkostemp64);
int recordedClose(int descriptor) REPLACES(close);
ssize_t recordedWrite(int descriptor, const void* bytes, size_t count) REPLACES(write);
ssize_t recordedWriteAt(int descriptor, const void* bytes, size_t count, ShortOffset offset) REPLACES(pwrite);
ssize_t recordedWriteAt64(int descriptor, const void* bytes, size_t count, off64_t offset) REPLACES(pwrite64);
int recordedResize(int descriptor, ShortOffset size) REPLACES(ftruncate);
int recordedResize64(int descriptor, off64_t size) REPLACES(ftruncate64);
int recordedSync(int descriptor) REPLACES(fsync);
int recordedDataSync(int descriptor) REPLACES(fdatasync);
int recordedLink(const char* from, const char* to) REPLACES(link);
int recordedRename(const char* from, const char* to) REPLACES(rename);
int recordedUnlink(const char* path) REPLACES(unlink);

int recordedOpen(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const auto mode = modeIn(arguments, flags);
  va_end(arguments);
  static auto* const open = systems<int(const char*, int, ...)>("open");
  return noteOpened(open(path, flags, mode), path);
}

int recordedOpen64(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const auto mode = modeIn(arguments, flags);
  va_end(arguments);
  static auto* const open = systems<int(const char*, int, ...)>("open64");
  return noteOpened(open(path, flags, mode), path);
}

int recordedMakeTemporary(char* pattern, int flags) {
  static auto* const make = systems<int(char*, int)>("mkostemp");
  return noteOpened(make(pattern, flags), pattern);
}

int recordedMakeTemporary64(char* pattern, int flags) {
  static auto* const make = systems<int(char*, int)>("mkostemp64");
  return noteOpened(make(pattern, flags), pattern);
}

int recordedClose(int descriptor) {
  static auto* const close = systems<int(int)>("close");
  if (recording() != nullptr) recording()->descriptors.erase(descriptor);
  return close(descriptor);
}

ssize_t recordedWrite(int descriptor, const void* bytes, size_t count) {
  static auto* const write = systems<ssize_t(int, const void*, size_t)>("write");
  const ssize_t written = write(descriptor, bytes, count);
  if (recording() != nullptr && written > 0 && recording()->descriptors.contains(descriptor)) {
    const off64_t end = lseek64(descriptor, 0, SEEK_CUR);
    noteWritten(written, descriptor, bytes, end - written);
  }
  return written;
}

ssize_t recordedWriteAt(int descriptor, const void* bytes, size_t count, ShortOffset offset) {
  static auto* const write = systems<ssize_t(int, const void*, size_t, ShortOffset)>("pwrite");
  return noteWritten(write(descriptor, bytes, count, offset), descriptor, bytes, offset);
}

ssize_t recordedWriteAt64(int descriptor, const void* bytes, size_t count, off64_t offset) {
  static auto* const write = systems<ssize_t(int, const void*, size_t, off64_t)>("pwrite64");
  return noteWritten(write(descriptor, bytes, count, offset), descriptor, bytes, offset);
}

int recordedResize(int descriptor, ShortOffset size) {
  static auto* const resize = systems<int(int, ShortOffset)>("ftruncate");
  return noteResized(resize(descriptor, size), descriptor, size);
}

int recordedResize64(int descriptor, off64_t size) {
  static auto* const resize = systems<int(int, off64_t)>("ftruncate64");
  return noteResized(resize(descriptor, size), descriptor, size);
}

// What is recorded needs no disk to keep it, so the system is not kept waiting.
int recordedSync(int descriptor) {
  if (recording() == nullptr) return systems<int(int)>("fsync")(descriptor);
  recording()->synced(descriptor);
  return 0;
}

int recordedDataSync(int descriptor) {
  return recordedSync(descriptor);
}

int recordedLink(const char* from, const char* to) {
  static auto* const link = systems<int(const char*, const char*)>("link");
  const int result = link(from, to);
  if (recording() != nullptr && result == 0) recording()->linked(from, to);
  return result;
}

int recordedRename(const char* from, const char* to) {
  static auto* const rename = systems<int(const char*, const char*)>("rename");
  const int result = rename(from, to);
  if (recording() != nullptr && result == 0) recording()->renamed(from, to);
  return result;
}

int recordedUnlink(const char* path) {
  static auto* const unlink = systems<int(const char*)>("unlink");
  const int result = unlink(path);
  if (recording() != nullptr && result == 0) recording()->removed(path);
  return result;
}

}  // extern "C"
