#include "vellora/Models/ThemeResponse.h"

#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora {

VELLORA_JSON_CODECS(ThemeResponse)

}  // namespace vellora
