#pragma once

#include <string>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// Why a value has no JSON form. It is the error of `json::encode`.
///
///     const auto text = json::encode(sObject);
///     if (!text) log(text.error().localizedDescription());  // cannot write text that is not UTF-8 at $.name
///
/// The path is written as that of a `DecodingError`.
///
/// Ownership: a plain value.
///
/// Threads: immutable, hence safe to read from several threads.
class VELLORA_EXPORT EncodingError {
 public:
  enum class Kind {
    numberNotFinite,  ///< `a number that is not finite at $.downloadedTime`
    textNotUtf8,      ///< `text that is not UTF-8 at $.name`, also for one of 4 GiB or more
    keyNotUtf8,       ///< `a key that is not UTF-8 at $.meta`; also one of 4 GiB or more
    noValue,          ///< `a null pointer at $.layoutFields[0]`
    tooDeep,          ///< `values nested deeper than 512 at $.a.a`, also for an object that holds itself
  };

  /// `path` leads to the value that has no JSON form, such as `$.name`.
  EncodingError(Kind kind, const std::string& path);

  /// What is wrong with the value; for decisions. The description is for people.
  [[nodiscard]] Kind kind() const noexcept { return kind_; }

  /// One line of bounded length that names kind and place, and quotes nothing but keys:
  /// `cannot write text that is not UTF-8 at $.name`.
  [[nodiscard]] const std::string& localizedDescription() const noexcept { return description_; }

  friend bool operator==(const EncodingError&, const EncodingError&) = default;

 private:
  Kind kind_;
  std::string description_;
};

}  // namespace vellora
