#include "vellora/Models/SObjectsResponse.h"

#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora {

VELLORA_JSON_CODECS(SObjectsResponse)

}  // namespace vellora
