#include "apps/vellora/command/Reason.h"

#include "vellora/Platform/Json/DecodingError.h"

namespace vellora::command {

std::string reasonOf(const Failure& failure) {
  std::string text = failure.error().localizedDescription();
  if (failure.error().as<DecodingError>() == nullptr) return text;
  const std::string url = failure.url();
  return "the answer of the server to " + url.substr(0, url.find('?')) + " cannot be used: " + text;
}

}  // namespace vellora::command
