#include "vellora/Models/ColorInfo.h"

#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora {

VELLORA_JSON_CODECS(ColorInfo)

}  // namespace vellora
