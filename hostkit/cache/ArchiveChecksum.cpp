#include "hostkit/cache/ArchiveChecksum.h"

#include "hostkit/cache/rows/Checksum.h"
#include "hostkit/cache/rows/MetaCodec.h"

namespace vellora::hostkit {

std::int64_t archiveChecksum(const CacheArchive& archive) {
  Checksum sum;
  for (const auto& blob : archive.blobs) sum.add("blob").add(blob.key).add(blob.data.view());
  for (const auto& table : archive.tables) {
    sum.add("table").add(table.key);
    for (const auto& row : table.rows) {
      sum.add("row").add(encodedMeta(row.meta)).add(row.dataKey ? "keyed" : "").add(row.dataKey.value_or(""));
      sum.add(row.data.view());
    }
  }
  return sum.value();
}

}  // namespace vellora::hostkit
