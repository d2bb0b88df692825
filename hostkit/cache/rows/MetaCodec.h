#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "vellora/Host/Row.h"

namespace vellora::hostkit {

/// The bytes of a meta map: each key and value in the map's order, led by its length, as in
/// "4:name7:Account". Different maps have different bytes, whatever characters they hold.
[[nodiscard]] std::string encodedMeta(const CorvaneSDK::Meta& meta);

/// The map that `encodedMeta` made `bytes` of; absent when they are not such bytes.
[[nodiscard]] std::optional<CorvaneSDK::Meta> decodedMeta(std::string_view bytes);

/// The key of a row that was written without one. It follows from the meta, so that a row of equal meta takes
/// the earlier row's place.
[[nodiscard]] std::string derivedDataKey(const CorvaneSDK::Meta& meta);

}  // namespace vellora::hostkit
