#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "testkit/ForwardingCache.h"
#include "testkit/ForwardingCacheTable.h"
#include "testkit/HostCall.h"
#include "vellora/Host/CacheEntry.h"

namespace vellora::faults {

/// What was written into a cache, to fill others with the same.
class CacheImage {
 public:
  /// A cache in memory that notes what is written to it.
  [[nodiscard]] std::shared_ptr<CorvaneSDK::Cache> recorder();

  /// A new cache in memory with all that the recorder was given.
  [[nodiscard]] std::shared_ptr<CorvaneSDK::Cache> copy() const;

  /// The bytes of another record than the one that `call` reads: the most similar one, which is an entry of
  /// the same kind where there is one. No value when there is no other.
  [[nodiscard]] std::optional<Data> anothers(const testkit::HostCall& call) const;

 private:
  class Recorder;
  class RecorderTable;

  struct Written {
    std::map<std::string, Data> blobs;                                                      // by key
    std::map<std::string, std::map<CorvaneSDK::Meta, CorvaneSDK::CacheEntry>> rowsByTable;  // by table's key
  };

  std::shared_ptr<Written> written_ = std::make_shared<Written>();
};

}  // namespace vellora::faults
