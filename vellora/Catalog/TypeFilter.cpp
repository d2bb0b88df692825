#include "vellora/Catalog/TypeFilter.h"

#include <algorithm>
#include <sstream>

#include "vellora/Platform/Text/AsciiCase.h"

namespace vellora {

TypeFilter::TypeFilter(std::string_view text) {
  std::istringstream words(asciiLowerCase(text));
  for (std::string word; words >> word;) words_.push_back(word);
}

bool TypeFilter::admits(const SObject& type) const {
  if (words_.empty()) return true;
  // A word stands within one of the three, since none holds a line break.
  const auto text = asciiLowerCase(type.label + "\n" + type.labelPlural + "\n" + type.name);
  return std::all_of(words_.begin(), words_.end(),
                     [&](const std::string& word) { return text.find(word) != std::string::npos; });
}

}  // namespace vellora
