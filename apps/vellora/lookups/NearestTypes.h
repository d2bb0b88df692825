#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vellora/Catalog/Missing.h"
#include "vellora/Host/Cache.h"
#include "vellora/Models/SObject.h"

namespace vellora::command {

/// The API name of the type that somebody most likely meant who typed `typed`: one of that name, label or
/// plural in another case, else the nearest name; no value when none is near.
[[nodiscard]] std::optional<std::string> nearestType(std::string_view typed,
                                                     const std::vector<SObject>& types);

/// That of each name which the server doesn't know, as far as the cached list of types has one. Of very many
/// names only the first are looked for.
[[nodiscard]] std::map<std::string, std::string> nearestTypes(const std::map<std::string, Missing>& missing,
                                                              CorvaneSDK::Cache& cache);

}  // namespace vellora::command
