#pragma once

#include <string>

#include "vellora/DataServices/SObjectsDataService.h"

namespace vellora {

// What a lookup of one key comes to, on its way through the pipelines.

struct SObjectsDataService::IdTuple {
  std::string id;
  OptionalSObject type;
  OptionalSObject instance;
};

struct SObjectsDataService::NameTuple {
  std::string name;
  OptionalSObject sObject;
};

}  // namespace vellora
