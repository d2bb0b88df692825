#include "vellora/Models/ListViewObjectRecords.h"

#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora {

template Result<ListViewObjectRecords> json::decode(const Data& text);
template Result<Data> json::encode(const ListViewObjectRecords& value);

}  // namespace vellora
