#pragma once

#include <string>
#include <utility>

#include "vellora/Platform/Values/Export.h"

namespace CorvaneSDK {

/// The name and version under which a host's registry knows a service: for `VelloraService` that name, and 1.
///
/// Ownership: a plain value.
struct VELLORA_EXPORT ServiceIdentifier {
  ServiceIdentifier() = default;

  ServiceIdentifier(std::string itsName, int itsVersion) : name(std::move(itsName)), version(itsVersion) {}

  std::string name;
  int version = 0;

  friend bool operator==(const ServiceIdentifier&, const ServiceIdentifier&) = default;
};

}  // namespace CorvaneSDK
