#pragma once

#include <simdjson.h>

#include <string_view>

#include "vellora/Platform/Json/DecodingFailure.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora::json {

/// One JSON value, as a record's own form sees it while it is decoded. Every step returns whether it
/// succeeded; after a failure the form returns false, and the reader already knows what was wrong and
/// where.
///
/// Ownership: refers to the document being decoded; cheap to copy, not to be kept.
class Reader {
 public:
  Reader(simdjson::dom::element value, DecodingFailure& failure) : value_(value), failure_(&failure) {}

  /// Reads the whole value into `out`.
  template <class T>
  [[nodiscard]] bool read(T& out) const;

  /// Reads member `key` of the object into `out`. It is required, unless `out` is a `std::optional`: then
  /// missing and null are absent.
  template <class T>
  [[nodiscard]] bool member(std::string_view key, T& out) const;

  /// Reads member `key` into `out` if that is possible. Whatever stands in the way (no such member, null, a
  /// wrong type anywhere inside) gives false, leaves `out` as it was, and is no failure.
  template <class T>
  [[nodiscard]] bool tryMember(std::string_view key, T& out) const;

  /// Calls `visit(key, reader)` for each member of the object, in document order, until it returns false. Of
  /// duplicate keys only the first is visited (JsonDuplicateKeys.h).
  template <class Visit>
  [[nodiscard]] bool forEachMember(Visit visit) const;

 private:
  simdjson::dom::element value_;
  DecodingFailure* failure_;
};

}  // namespace vellora::json
