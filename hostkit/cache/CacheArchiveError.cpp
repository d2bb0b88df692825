#include "hostkit/cache/CacheArchiveError.h"

namespace vellora::hostkit {

std::string CacheArchiveError::localizedDescription() const {
  switch (reason) {
    case Reason::otherFormat:
      return "This is not an archive of a cache. Choose a file that was written as one.";
    case Reason::newerVersion:
      return "This archive was written by a newer version of this library. Update this program, or write the "
             "archive with this version.";
    case Reason::damaged:
      break;
  }
  return "This archive is damaged, or was changed by hand. Write it again from its cache.";
}

}  // namespace vellora::hostkit
