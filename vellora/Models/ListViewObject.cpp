#include "vellora/Models/ListViewObject.h"

#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora {

VELLORA_JSON_CODECS(ListViewObject)

}  // namespace vellora
