#include "vellora/DataServices/MetadataServices.h"

#include <new>

#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Queues/ThreadPool.h"

namespace vellora {

void MetadataServices::releaseMemory() const {
  sObjects->releaseMemory();
  themes->releaseMemory();
  cache->releaseMemory();
  json::releaseParser();
  try {
    detail::ThreadPool::shared().endIdleThreads();  // each may keep a parser, too
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): there was no pool yet, hence no threads
  }
}

}  // namespace vellora
