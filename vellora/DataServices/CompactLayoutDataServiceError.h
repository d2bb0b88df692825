#pragma once

#include "vellora/Platform/Values/EnumerationError.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// What the producers of the compact layout service fail with; its lookups report `SObjectsDataServiceError`.
///
/// Equality: the same case.
/// Ownership: a plain value.
/// Threads: immutable.
class VELLORA_EXPORT CompactLayoutDataServiceError final : public EnumerationError {
 public:
  enum class Case {
    decoding,  ///< never produced
    encoding,  ///< never produced
    network,   ///< no request could be formed, or it brought neither body nor error
  };

  [[nodiscard]] static CompactLayoutDataServiceError decoding() { return {Case::decoding, "decoding"}; }
  [[nodiscard]] static CompactLayoutDataServiceError encoding() { return {Case::encoding, "encoding"}; }
  [[nodiscard]] static CompactLayoutDataServiceError network() { return {Case::network, "network"}; }

  [[nodiscard]] Case errorCase() const noexcept { return case_; }

  friend bool operator==(const CompactLayoutDataServiceError& left,
                         const CompactLayoutDataServiceError& right) {
    return left.case_ == right.case_;
  }

 private:
  CompactLayoutDataServiceError(Case errorCase, std::string_view caseName)
      : EnumerationError("CompactLayoutDataServiceError", caseName, std::nullopt), case_(errorCase) {}

  Case case_;
};

}  // namespace vellora
