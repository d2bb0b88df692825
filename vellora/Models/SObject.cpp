#include "vellora/Models/SObject.h"

#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora {

template Result<SObject> json::decode(const Data& text);
template Result<std::vector<SObject>> json::decode(const Data& text);
template Result<Data> json::encode(const SObject& value);
template Result<Data> json::encode(const std::vector<SObject>& value);

}  // namespace vellora
