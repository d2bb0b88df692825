#include "vellora/Models/LayoutComponentDetails.h"

#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora {

VELLORA_JSON_CODECS(LayoutComponentDetails)

}  // namespace vellora
