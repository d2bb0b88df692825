#include "vellora/Models/SObjectsResponse.h"

#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora {

template Result<SObjectsResponse> json::decode(const Data& text);
template Result<Data> json::encode(const SObjectsResponse& value);

}  // namespace vellora
