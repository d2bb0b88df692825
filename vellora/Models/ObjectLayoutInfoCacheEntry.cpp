#include "vellora/Models/ObjectLayoutInfoCacheEntry.h"

#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora {

template Result<ObjectLayoutInfoCacheEntry> json::decode(const Data& text);
template Result<Data> json::encode(const ObjectLayoutInfoCacheEntry& value);

}  // namespace vellora
