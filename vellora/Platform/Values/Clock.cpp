#include <chrono>

#include "vellora/Platform/Values/Date.h"

namespace vellora {

Date now() {
  const auto since1970 = std::chrono::system_clock::now().time_since_epoch();
  return Date::since1970(std::chrono::duration<double>(since1970).count());
}

}  // namespace vellora
