#include "vellora/Models/ObjectLayoutInfoCacheEntry.h"

#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora {

VELLORA_JSON_CODECS(ObjectLayoutInfoCacheEntry)

}  // namespace vellora
