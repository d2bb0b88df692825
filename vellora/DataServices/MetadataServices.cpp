#include "vellora/DataServices/MetadataServices.h"

#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Queues/ThreadPool.h"

namespace vellora {

void MetadataServices::releaseMemory() const {
  sObjects->releaseMemory();
  themes->releaseMemory();
  cache->releaseMemory();
  json::releaseParser();
  detail::ThreadPool::shared().endIdleThreads();  // each may keep a parser, too
}

}  // namespace vellora
