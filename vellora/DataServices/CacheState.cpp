#include "vellora/DataServices/CacheState.h"

namespace vellora {

std::string describe(CacheState state) {
  switch (state) {
    case CacheState::empty:
      return "empty";
    case CacheState::expired:
      return "expired";
    case CacheState::valid:
      return "valid";
  }
  return "unknown";
}

}  // namespace vellora
