#include "vellora/Models/ObjectLayoutFieldMetadata.h"

#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora {

VELLORA_JSON_CODECS(ObjectLayoutFieldMetadata)

}  // namespace vellora
