#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "vellora/Models/SObject.h"

namespace vellora {

/// What a person has typed to find object types: words, each of which stands somewhere in the type's label,
/// its plural or its name. "acc per" finds "Person Account". Letters of ASCII match in either case.
///
/// Ownership: a plain value.
///
/// Threads: immutable.
class TypeFilter {
 public:
  /// No words, as of an empty text, admit every type.
  explicit TypeFilter(std::string_view text);

  [[nodiscard]] bool admits(const SObject& type) const;

 private:
  std::vector<std::string> words_;  // in lower case
};

}  // namespace vellora
