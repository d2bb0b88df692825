#include "vellora/Platform/Values/Error.h"

namespace vellora {

std::string defaultErrorDescription(std::string_view typeName, std::string_view caseName,
                                    const std::optional<Error>& payload) {
  std::string text = "The operation could not be completed. (";
  text.append(typeName).append(".").append(caseName);
  if (payload) text.append(": ").append(payload->localizedDescription());
  return text.append(")");
}

}  // namespace vellora
