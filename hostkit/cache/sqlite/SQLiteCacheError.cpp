#include "hostkit/cache/sqlite/SQLiteCacheError.h"

namespace vellora::hostkit {

namespace {

struct Words {
  const char* wrong;
  const char* remedy;
};

Words wordsFor(SQLiteCacheError::Reason reason) {
  using Reason = SQLiteCacheError::Reason;
  switch (reason) {
    case Reason::unwritable:
      return {"cannot be read and written", "Choose a path in a folder that you may write to."};
    case Reason::foreignFile:
      return {"is not a cache of this library and was left as it is",
              "Choose another path, or move that file away."};
    case Reason::newerVersion:
      return {"was written by a newer version of this library and was left as it is",
              "Update this program, or choose another path."};
    case Reason::locked:
      return {"is locked by another process", "Try again when that process is done, or choose another path."};
    case Reason::absent:
      return {"does not exist", "Choose the path of a cache that has been used."};
    case Reason::damaged:
      return {"is damaged", "The next program that uses it sets it aside and begins a new one."};
    case Reason::otherOwner:
      return {"was filled for another user or another server", "Choose another path, or delete that cache."};
    case Reason::failed:
      break;
  }
  return {"cannot be opened", "Check the disk that it is on, or choose another path."};
}

}  // namespace

std::string SQLiteCacheError::localizedDescription() const {
  const Words words = wordsFor(reason);
  std::string text = "The cache file \"" + path + "\" " + words.wrong;
  if (!detail.empty()) text.append(" (").append(detail).append(")");
  return text.append(". ").append(words.remedy);
}

}  // namespace vellora::hostkit
