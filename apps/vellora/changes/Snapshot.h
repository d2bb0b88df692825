#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "vellora/Models/ObjectCompactLayoutInfo.h"
#include "vellora/Models/ObjectLayoutInfo.h"
#include "vellora/Models/ObjectPresentationInfo.h"

namespace vellora::command {

/// What a person is told of one type or layout: the name of each property, and its text, in order.
using Properties = std::vector<std::pair<std::string, std::string>>;

/// Types or layouts, by the API name of the type.
using Described = std::map<std::string, Properties>;

/// What is known of object types at one moment.
struct Snapshot {
  Described types;
  Described searchLayouts;
  Described compactLayouts;

  friend bool operator==(const Snapshot&, const Snapshot&) = default;
};

/// How a type is shown. `server` is left out of the addresses of icons, so that two servers with the same
/// icons are alike.
[[nodiscard]] Properties propertiesOf(const ObjectPresentationInfo& type, const std::string& server);

/// The columns, each under its field.
[[nodiscard]] Properties propertiesOf(const ObjectLayoutInfo& layout);

/// The fields, each under its API name; behind a compound one its parts.
[[nodiscard]] Properties propertiesOf(const ObjectCompactLayoutInfo& layout);

}  // namespace vellora::command
