// In place of SharedCache.cpp where the library has no Redis.

#include "apps/vellora/command/SharedCache.h"

namespace vellora::command {

OpenedSharedCache openSharedCache(SharedCache::Options /*options*/) {
  return Problem{ExitCode::usage,
                 "this vellora was built without Redis and keeps caches in files only: give --cache FILE, or "
                 "build it where hiredis is"};
}

}  // namespace vellora::command
