#pragma once

#include <string>

#include "vellora/Platform/Values/Export.h"

namespace CorvaneSDK {

/// The name and version under which a host's registry knows a service.
struct VELLORA_EXPORT ServiceIdentifier {
  std::string name;
  int version = 0;

  friend bool operator==(const ServiceIdentifier&, const ServiceIdentifier&) = default;
};

}  // namespace CorvaneSDK
