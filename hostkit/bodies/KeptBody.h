#pragma once

#include <optional>
#include <string_view>

#include "vellora/Host/Row.h"
#include "vellora/Platform/Values/Data.h"

namespace vellora::hostkit {

/// The body of an answer as it came over the wire, perhaps packed, and what of its head is needed to answer
/// with it again.
///
/// Ownership: a plain value.
struct KeptBody {
  CorvaneSDK::Meta headers;  ///< by name in lower case
  Data body;

  friend bool operator==(const KeptBody&, const KeptBody&) = default;
};

/// The bytes that `kept` is stored as, with a checksum over them and over `request`, the name of the request
/// that it answers.
[[nodiscard]] Data storedForm(const KeptBody& kept, std::string_view request);

/// What `storedForm` made `stored` of, for that very request. Absent when a byte of it is another one.
[[nodiscard]] std::optional<KeptBody> keptBodyIn(const Data& stored, std::string_view request);

}  // namespace vellora::hostkit
