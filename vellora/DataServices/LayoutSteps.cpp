#include "vellora/DataServices/LayoutSteps.h"

namespace vellora {

std::string joined(const std::vector<std::string>& names, std::string_view separator) {
  std::string text;
  for (const auto& name : names) text.append(&name == names.data() ? "" : separator).append(name);
  return text;
}

bool Expiry::isPast(Date downloadedTime) {
  if (!now_) now_ = now();
  return now_->secondsSince(downloadedTime) > cacheTimeout_;
}

}  // namespace vellora
