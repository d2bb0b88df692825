#pragma once

#include <optional>
#include <string>
#include <vector>

#include "bindings/c/vellora.h"
#include "vellora/Host/Row.h"
#include "vellora/Platform/Values/Data.h"

namespace vellora::capi {

/// A row as a host gives it.
///
/// Ownership: a plain value.
struct GivenRow {
  CorvaneSDK::Row row;
  Data data;
};

}  // namespace vellora::capi

/// Takes what a host's function gives during one call: bytes, or rows.
struct vellora_sink {
  bool takesRows = false;
  std::optional<std::string> bytes = {};
  std::vector<vellora::capi::GivenRow> rows = {};
};

namespace vellora::capi {

/// Take what is given; throw a `Refusal` of what the sink does not take.
void give(vellora_sink* sink, const vellora_text* bytes);
void giveRow(vellora_sink* sink, const vellora_row* row);

}  // namespace vellora::capi
