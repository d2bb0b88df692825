#include "vellora/Models/LayoutComponent.h"

#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora {

VELLORA_JSON_CODECS(LayoutComponent)

}  // namespace vellora
