#include "bindings/c/Sink.h"

#include <cstddef>
#include <utility>

#include "bindings/c/Border.h"
#include "bindings/c/Structs.h"
#include "bindings/c/Texts.h"

namespace vellora::capi {

namespace {

void checkSink(vellora_sink* sink, bool takesRows) {
  if (needed(sink, "The sink").takesRows != takesRows)
    throw Refusal(VELLORA_BAD_ARGUMENT, takesRows ? "The sink takes no rows." : "The sink takes rows.");
}

CorvaneSDK::Meta metaOf(const vellora_pair* pairs, std::size_t count) {
  if (pairs == nullptr && count != 0) throw Refusal(VELLORA_BAD_ARGUMENT, "The meta is null.");
  CorvaneSDK::Meta meta;
  for (std::size_t index = 0; index < count; ++index) {
    meta.emplace(viewOf(pairs[index].name, "A name of the meta"),
                 viewOf(pairs[index].value, "A value of the meta"));
  }
  return meta;
}

}  // namespace

void give(vellora_sink* sink, const vellora_text* bytes) {
  checkSink(sink, false);
  const auto given = viewOf(needed(bytes, "The bytes"), "The bytes");
  sink->bytes.reset();
  if (given.data() != nullptr) sink->bytes.emplace(given);
}

void giveRow(vellora_sink* sink, const vellora_row* row) {
  checkSink(sink, true);
  const auto given = copied(needed(row, "The row"), "The row");
  const auto data = viewOf(given.data, "The data of the row");
  sink->rows.push_back(
      {{metaOf(given.meta, given.meta_count), std::string(viewOf(given.data_key, "The data key"))},
       Data(data.data(), data.size())});
}

}  // namespace vellora::capi
