#include "hostkit/cache/sqlite/OwnCacheFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <utility>

#include "hostkit/cache/rows/HexDigits.h"
#include "hostkit/cache/rows/KeyedDigest.h"
#include "hostkit/cache/sqlite/CachePath.h"
#include "hostkit/cache/sqlite/FileNaming.h"
#include "hostkit/cache/sqlite/SQLiteCacheError.h"
#include "hostkit/cache/sqlite/SQLiteResultCodes.h"

namespace vellora::hostkit {

namespace {

/// The key in that file. Fails with its `errno`; one that has no key's size is none, and gives EINVAL.
std::string readKey(const std::string& file, int& number) {
  const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW);
  number = descriptor < 0 ? errno : 0;
  if (descriptor < 0) return {};
  std::array<char, keySize + 1> bytes{};
  const auto count = read(descriptor, bytes.data(), bytes.size());
  close(descriptor);
  if (count != static_cast<ssize_t>(keySize)) number = EINVAL;
  return {bytes.data(), keySize};
}

/// Writes the new key `key` to a file that is made for it; 0, or the `errno` of what went wrong.
int writeKey(int descriptor, std::string_view key) {
  if (key.empty()) return EIO;
  if (write(descriptor, key.data(), key.size()) != static_cast<ssize_t>(key.size())) return errno;
  return fsync(descriptor) == 0 ? 0 : errno;
}

/// Makes a key unless another process is quicker; 0, or the `errno` of what went wrong.
int makeKey(const std::string& file) {
  std::string made = file + ".XXXXXX";
  const int descriptor = mkostemp(made.data(), O_CLOEXEC);
  if (descriptor < 0) return errno;
  int number = writeKey(descriptor, randomKey());
  close(descriptor);
  if (number == 0) number = nameFile(made, file);
  unlink(made.c_str());
  // Without the key nobody would find a cache whose name was made of it, and whose own name is durable.
  if (number == 0) syncFolder(cachePath::folderOf(file));
  return number == EEXIST ? 0 : number;
}

Result<std::string> keyOf(const std::string& file) {
  using Reason = SQLiteCacheError::Reason;
  int number = 0;
  std::string key = readKey(file, number);
  if (number == ENOENT) {
    if (number = makeKey(file); number == 0) key = readKey(file, number);
  }
  if (cachePath::isOfAnotherUser(file))
    return Error(SQLiteCacheError{Reason::unwritable, file, "it belongs to another user"});
  if (number != 0) return errorForErrno(file, number);
  return key;
}

}  // namespace

Result<std::string> ownCacheFile(const std::string& folder, const std::string& name,
                                 const std::string& owner) {
  const auto place = cachePath::resolved((std::filesystem::path(folder) / ".vellora-key").string());
  if (!place) return place.error();
  if (auto error = cachePath::createFolders(place.value())) return *std::move(error);
  const auto key = keyOf(place.value());
  if (!key) return key.error();
  constexpr std::size_t digestBytes = 16;  // as many as keep any two owners apart
  const std::string digest = keyedDigest(key.value(), owner).substr(0, digestBytes);
  if (digest.empty()) return errorForErrno(place.value(), ENOMEM);
  return (std::filesystem::path(folder) / (name + "-" + hexDigits(digest) + ".sqlite")).string();
}

}  // namespace vellora::hostkit
