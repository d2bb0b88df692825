#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "vellora/Platform/Json/DecodingError.h"
#include "vellora/Platform/Json/JsonPath.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::json {

class Document;

/// A decoding failure that is handed up from the value where it happened to the whole document; each level
/// adds its step of the path. Every function that reports one returns false, so that a step which fails can
/// end in `return failure.typeMismatch("a string")`. A step that succeeds never touches this.
class VELLORA_EXPORT DecodingFailure {
 public:
  /// The failure of decoding `document`, which outlives it.
  explicit DecodingFailure(Document& document) : document_(document) {}

  /// What is being decoded, for a step that has to look closer before it fails.
  [[nodiscard]] Document& document() const { return document_; }

  /// The failure itself, at the place where it happened.
  bool missingKey(std::string_view key);
  bool typeMismatch(std::string_view expected);

  /// Adds a step to the path: the failure lies under member `key`, or under element `index`, of the value
  /// that hands it up.
  bool under(std::string_view key);
  bool under(std::size_t index);

  /// Forgets the failure: it was one of an attempt, after which another one follows.
  void clear();

  [[nodiscard]] DecodingError error() const;

 private:
  Document& document_;
  bool isMissingKey_ = false;
  std::string subject_;  // the key that is missing, or what was expected
  Path path_;
};

}  // namespace vellora::json
