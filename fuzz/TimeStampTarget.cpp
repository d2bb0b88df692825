#include "fuzz/TimeStampTarget.h"

#include <memory>
#include <string>

#include "fuzz/Target.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/RecordingLogger.h"
#include "tests/support/TestClock.h"
#include "vellora/DataServices/TimestampedTable.h"

namespace vellora::fuzz {

void runTimeStamp(const Data& input) {
  constexpr double timeout = 300;
  const tests::TestClock clock;
  const auto cache = std::make_shared<hostkit::MemoryCache>();
  cache->save(input, "stamp");
  const TimestampedTable table(cache, std::make_shared<testkit::RecordingLogger>(), timeout,
                               {"table", "stamp", "list"});
  require(table.cacheState() == CacheState::empty, "without a list the cache is empty, whatever the blob");
  require(table.write(std::string("list"), TimestampedTable::kindMeta("list"), "write"), "a list is written");
  const auto state = table.cacheState();
  require(state != CacheState::empty, "a list that is there makes the cache not empty");
  require(input.size() >= sizeof(double) || state == CacheState::expired, "half a number makes the list old");
  table.saveFetchTimeStamp();
  require(table.cacheState() == CacheState::valid, "a list that was fetched now is fresh");
}

}  // namespace vellora::fuzz
