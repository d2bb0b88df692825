#include "vellora/Models/FieldItem.h"

#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora {

VELLORA_JSON_CODECS(FieldItem)

}  // namespace vellora
