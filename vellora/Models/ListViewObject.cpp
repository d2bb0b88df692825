#include "vellora/Models/ListViewObject.h"

#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora {

template Result<ListViewObject> json::decode(const Data& text);
template Result<Data> json::encode(const ListViewObject& value);

}  // namespace vellora
