#include "vellora/Models/CompactLayoutCacheEntry.h"

#include "vellora/Models/ObjectCompactLayoutInfoCodec.h"

namespace vellora {

VELLORA_JSON_CODECS(CompactLayoutCacheEntry)

}  // namespace vellora
