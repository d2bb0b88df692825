#include "vellora/Models/ListViewObjectRecords.h"

#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora {

VELLORA_JSON_CODECS(ListViewObjectRecords)

}  // namespace vellora
