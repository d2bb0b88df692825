#include "vellora/Models/SObject.h"

#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora {

VELLORA_JSON_CODECS(SObject)

}  // namespace vellora
