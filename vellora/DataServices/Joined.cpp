#include "vellora/DataServices/Joined.h"

namespace vellora {

std::string joined(const std::vector<std::string>& names, std::string_view separator) {
  std::string text;
  for (const auto& name : names) text.append(&name == names.data() ? "" : separator).append(name);
  return text;
}

std::string quoted(const std::vector<std::string>& names) {
  return std::string("'").append(joined(names, "','")).append("'");
}

}  // namespace vellora
