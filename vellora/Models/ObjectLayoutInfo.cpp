#include "vellora/Models/ObjectLayoutInfo.h"

#include <map>
#include <optional>

#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora {

VELLORA_JSON_CODECS(ObjectLayoutInfo)
template Result<Data> json::encode(const std::optional<std::map<std::string, ObjectLayoutInfo>>& value);

}  // namespace vellora
