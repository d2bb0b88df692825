#include "vellora/Models/IconInfo.h"

#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora {

VELLORA_JSON_CODECS(IconInfo)

}  // namespace vellora
