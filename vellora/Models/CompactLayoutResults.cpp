#include "vellora/Models/CompactLayoutResults.h"

#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora {

bool CompactLayoutResults::decodeJson(const json::Reader& reader, CompactLayoutResults& out) {
  out.layouts.clear();
  return reader.forEachMember([&out](std::string_view, const json::Reader& layout) {
    return layout.read(out.layouts.emplace_back());
  });
}

template Result<CompactLayoutResults> json::decode(const Data& text);
template Result<Data> json::encode(const CompactLayoutResults& value);

}  // namespace vellora
