#include "vellora/Models/CompactLayoutCacheEntry.h"

#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora {

template Result<CompactLayoutCacheEntry> json::decode(const Data& text);
template Result<Data> json::encode(const CompactLayoutCacheEntry& value);

}  // namespace vellora
