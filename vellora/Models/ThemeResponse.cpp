#include "vellora/Models/ThemeResponse.h"

#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora {

template Result<ThemeResponse> json::decode(const Data& text);
template Result<Data> json::encode(const ThemeResponse& value);

}  // namespace vellora
