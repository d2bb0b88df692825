#include "vellora/Models/ObjectLayoutInfo.h"

#include <map>
#include <optional>

#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora {

template Result<std::vector<ObjectLayoutInfo>> json::decode(const Data& text);
template Result<ObjectLayoutInfo> json::decode(const Data& text);
template Result<Data> json::encode(const ObjectLayoutInfo& value);
template Result<Data> json::encode(const std::optional<std::map<std::string, ObjectLayoutInfo>>& value);

}  // namespace vellora
